#include "app/WizardPage.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>

#include "app/DialogUnits.h"
#include "app/Labels.h"
#include "app/Strings.h"

// The pictures lie in this library; a program that links it takes them along only when they are asked for.
static void KeepResources()
{
    Q_INIT_RESOURCE(pastille);
}

namespace pastille::app {
namespace {

constexpr int kPageMargin = 16;
constexpr int kSpacing = 8;

}  // namespace

CWizardPage::CWizardPage(const QString& className, QWidget* parent)
    : QDialog(parent),
      m_content(new QWidget),
      m_body(new QVBoxLayout(m_content)),
      m_banner(QStringLiteral(":/images/banner.svg"))
{
    KeepResources();
    setObjectName(className);
    setWindowTitle(Text(strings::kProduct));
    setWindowIcon(QIcon(QStringLiteral(":/icons/pastille.svg")));
    setModal(true);
    m_body->setContentsMargins(kPageMargin, kPageMargin, kPageMargin, kSpacing);
    m_body->setSpacing(kSpacing);
    // What a small screen has no room for is scrolled; the buttons below stay.
    auto* area = new QScrollArea(this);
    area->setWidget(m_content);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, m_banner.defaultSize().height(), 0, kPageMargin);
    all->setSpacing(kSpacing);
    all->setSizeConstraint(QLayout::SetNoConstraint);
    all->addWidget(area, 1);
}

QLabel* CWizardPage::MakeHeading(const QString& text)
{
    QLabel* label = MakeText(text);
    QFont font = label->font();
    font.setPixelSize(std::max(QFontInfo(font).pixelSize() - 2, 8));
    font.setWeight(QFont::Bold);
    label->setFont(font);
    return label;
}

QLabel* CWizardPage::MakeText(const QString& text)
{
    QLabel* label = MakeLabel(this, text);
    label->setWordWrap(true);
    return label;
}

CSkinButton* CWizardPage::MakeBrowseButton()
{
    auto* button = new CSkinButton(QStringLiteral("Browse..."), QStringLiteral("browse"),
                                   CSkinButton::IconSide::Left, this);
    button->setShortcut(Qt::ALT | Qt::Key_W);
    return button;
}

CSkinButton* CWizardPage::MakeNextButton()
{
    auto* next =
        new CSkinButton(QStringLiteral("Next"), QStringLiteral("next"), CSkinButton::IconSide::Right, this);
    next->setShortcut(Qt::ALT | Qt::Key_N);
    next->setEnabled(false);
    return next;
}

void CWizardPage::GiveRestOfHeight(QWidget& list)
{
    list.setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Ignored);
    list.setMinimumHeight(DialogUnits(*this, 0, 40).height());
}

void CWizardPage::AddFooter(WizardPage back, CSkinButton* onward)
{
    auto* row = new QHBoxLayout;
    row->addStretch();
    if (back != WizardPage::None) {
        auto* button = new CSkinButton(QStringLiteral("Back"), QStringLiteral("back"),
                                       CSkinButton::IconSide::Left, this);
        button->setShortcut(Qt::ALT | Qt::Key_B);
        connect(button, &QPushButton::clicked, this, [this, back] { GoTo(back); });
        row->addWidget(button);
        setTabOrder(button, onward);
    }
    row->addWidget(onward);
    onward->setDefault(true);
    row->setContentsMargins(kPageMargin, 0, kPageMargin, 0);
    static_cast<QBoxLayout*>(layout())->addLayout(row);
    m_footerHeight = row->sizeHint().height();
}

void CWizardPage::AddAccelerator(const QKeySequence& keys, QWidget* focused)
{
    auto* shortcut = new QShortcut(keys, this);
    connect(shortcut, &QShortcut::activated, focused,
            [focused] { focused->setFocus(Qt::ShortcutFocusReason); });
}

void CWizardPage::GoTo(WizardPage page)
{
    if (!MayLeave())
        return;
    m_following = page;
    done(Rejected);
}

void CWizardPage::reject()
{
    if (MayLeave())
        QDialog::reject();
}

void CWizardPage::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        LookAgain();
}

void CWizardPage::paintEvent(QPaintEvent* event)
{
    QDialog::paintEvent(event);
    QPainter painter(this);
    m_banner.render(&painter, QRectF(0, 0, width(), m_banner.defaultSize().height()));
}

void CWizardPage::showEvent(QShowEvent* event)
{
    if (!m_initialSize.isValid()) {
        const QSize smallest = DialogUnits(*this, 370, 230);
        const QMargins margins = layout()->contentsMargins();
        const int height = m_body->totalHeightForWidth(smallest.width()) + margins.top() + margins.bottom() +
                           layout()->spacing() + m_footerHeight;
        setMinimumSize(smallest.expandedTo({0, height}).boundedTo(Room()));
        // Not what Qt makes of the preferred sizes of lists and texts.
        if (!testAttribute(Qt::WA_Resized))
            resize(minimumSize());
        m_initialSize = size();
    }
    // Without the frame: where that goes is the window manager's, and a frame's place given before it has put
    // the window up is taken for the window's own.
    if (m_corner)
        setGeometry(QRect(*m_corner, size()));
    else if (!testAttribute(Qt::WA_Moved) && parentWidget() != nullptr)
        CenterOnParent();
    QDialog::showEvent(event);
}

/// What the window's frame takes beside the page: as much as that of the parent.
QSize CWizardPage::FrameSize() const
{
    return parentWidget() != nullptr ? parentWidget()->frameSize() - parentWidget()->size() : QSize(0, 0);
}

QSize CWizardPage::Room() const
{
    return screen()->availableSize() - FrameSize();
}

/// What Qt does by itself guesses a frame where there is none.
void CWizardPage::CenterOnParent()
{
    const QRect available = screen()->availableGeometry();
    QRect framed(QPoint(), size() + FrameSize());
    framed.moveCenter(parentWidget()->frameGeometry().center());
    framed.moveBottomRight(
        {std::min(framed.right(), available.right()), std::min(framed.bottom(), available.bottom())});
    framed.moveTopLeft({std::max(framed.left(), available.left()), std::max(framed.top(), available.top())});
    const QPoint inFrame = parentWidget()->geometry().topLeft() - parentWidget()->frameGeometry().topLeft();
    setGeometry(QRect(framed.topLeft() + inFrame, size()));
}

}  // namespace pastille::app
