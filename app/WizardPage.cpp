#include "app/WizardPage.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QIcon>
#include <QPainter>
#include <QShortcut>
#include <QVBoxLayout>

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

constexpr int kMargin = 16;
constexpr int kSpacing = 8;

}  // namespace

CWizardPage::CWizardPage(const QString& className, QWidget* parent)
    : QDialog(parent), m_body(new QVBoxLayout(this)), m_banner(QStringLiteral(":/images/banner.svg"))
{
    KeepResources();
    setObjectName(className);
    setWindowTitle(Text(strings::kProduct));
    setWindowIcon(QIcon(QStringLiteral(":/icons/pastille.svg")));
    setModal(true);
    m_body->setContentsMargins(kMargin, m_banner.defaultSize().height() + kMargin, kMargin, kMargin);
    m_body->setSpacing(kSpacing);
    m_body->setSizeConstraint(QLayout::SetNoConstraint);
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
    m_body->addSpacing(kSpacing);
    m_body->addLayout(row);
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
        const int height = m_body->totalMinimumHeightForWidth(smallest.width());
        setMinimumSize(smallest.width(), std::max(smallest.height(), height));
        // Not what Qt makes of the preferred sizes of lists and texts.
        if (!testAttribute(Qt::WA_Resized))
            resize(minimumSize());
        m_initialSize = size();
    }
    QDialog::showEvent(event);
}

}  // namespace pastille::app
