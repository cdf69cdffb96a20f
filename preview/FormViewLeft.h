#pragma once

#include <QWidget>

namespace pastille::preview {

/// The left pane: the folders of the new store.
class CFormViewLeft final : public QWidget {
    Q_OBJECT

public:
    explicit CFormViewLeft(QWidget* parent);
};

}  // namespace pastille::preview
