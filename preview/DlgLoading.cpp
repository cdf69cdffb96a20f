#include "preview/DlgLoading.h"

#include <QLabel>
#include <QVBoxLayout>

#include "preview/Animation.h"

namespace pastille::preview {
namespace {

constexpr auto kDelay = std::chrono::milliseconds(300);

}  // namespace

CDlgLoading::CDlgLoading(QWidget* pane) : QFrame(pane), m_animation(new CAnimation(this))
{
    setObjectName(QStringLiteral("CDlgLoading"));
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* column = new QVBoxLayout(this);
    column->addWidget(new QLabel(QStringLiteral("Loading..."), this), 0, Qt::AlignHCenter);
    column->addWidget(m_animation);
    hide();
    m_delay.setSingleShot(true);
    m_delay.setInterval(kDelay);
    connect(&m_delay, &QTimer::timeout, this, [this] {
        adjustSize();
        move(parentWidget()->rect().center() - rect().center());
        show();
        raise();
        m_animation->Play();
    });
}

void CDlgLoading::Begin()
{
    m_delay.start();
}

void CDlgLoading::End()
{
    m_delay.stop();
    m_animation->Stop();
    hide();
}

}  // namespace pastille::preview
