#pragma once

#include <QFrame>
#include <QTimer>

namespace pastille::preview {

class CAnimation;

/// Says over a pane that its rows are still being read. It takes no clicks from the pane, and does not show
/// for what is done at once.
class CDlgLoading final : public QFrame {
    Q_OBJECT

public:
    explicit CDlgLoading(QWidget* pane);

    void Begin();
    void End();

private:
    CAnimation* m_animation;
    QTimer m_delay;
};

}  // namespace pastille::preview
