#pragma once

#include <QWidget>

namespace pastille::preview {

/// The right lower pane: the body of the selected mail.
class CDisplayBody final : public QWidget {
    Q_OBJECT

public:
    explicit CDisplayBody(QWidget* parent);
};

}  // namespace pastille::preview
