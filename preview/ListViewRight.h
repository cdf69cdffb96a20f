#pragma once

#include <QWidget>

namespace pastille::preview {

/// The right upper pane: the items of the selected folder.
class CListViewRight final : public QWidget {
    Q_OBJECT

public:
    explicit CListViewRight(QWidget* parent);
};

}  // namespace pastille::preview
