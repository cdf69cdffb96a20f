#pragma once

#include <QWidget>

namespace pastille::preview {

/// The right upper pane for one item other than a mail: its properties.
class CGridView final : public QWidget {
    Q_OBJECT

public:
    explicit CGridView(QWidget* parent);
};

}  // namespace pastille::preview
