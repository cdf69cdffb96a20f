#include "app/AboutDlg.h"

#include "app/Labels.h"
#include "app/LinkButton.h"
#include "app/LinkErrors.h"
#include "app/MessageBox.h"
#include "app/PastilleApp.h"
#include "app/Strings.h"

#include <QDialogButtonBox>
#include <QFontInfo>
#include <QIcon>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QVersionNumber>

#include <algorithm>

namespace pastille::app {
namespace {

constexpr int kIconSize = 64;  // device-independent pixels
// Of the content, in letters and lines.
constexpr int kNarrowest = 52;
constexpr int kWidest = 90;
constexpr int kHighest = 30;

/// Four numbers; what the version lacks of them is 0.
QString VersionNumbers(const QString& version)
{
    const QVersionNumber number = QVersionNumber::fromString(version);
    if (number.isNull())
        return QStringLiteral("3.0");
    const auto segment = [&](int index) {
        return index < number.segmentCount() ? number.segmentAt(index) : 0;
    };
    return QString::asprintf("%d.%d.%d.%d", segment(0), segment(1), segment(2), segment(3));
}

}  // namespace

CAboutDlg::CAboutDlg(QWidget* parent, CPastilleApp& app) : QDialog(parent), m_app(app)
{
    setObjectName(QStringLiteral("CAboutDlg"));
    // "About" and what the version number belongs to.
    setWindowTitle(
        QStringLiteral("%1 %2").arg(app.LanguageText("IDS_ABOUT"), app.LanguageText("IDS_VERSION_TEXT")));
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    AddHeading(*layout);
    AddLink(*layout, app.LanguageText("IDS_URL_ABOUT"), "IDS_URL_ABOUT");
    AddLink(*layout, app.LanguageText("IDS_UNINSTALL_URL_TXT"), "IDS_UNINSTALL_URL");
    AddLink(*layout, app.LanguageText("IDS_LICENSE_URL_TXT"), "IDS_LICENSE_URL");
    AddLink(*layout, app.LanguageText("IDS_POLICY_URL_TXT"), "IDS_POLICY_URL");
    layout->addSpacing(12);
    layout->addStretch();

    // Texts of any length leave the box smaller than the screen: longer ones are scrolled.
    auto* area = new QScrollArea(this);
    area->setWidget(content);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    const int letter = fontMetrics().averageCharWidth();
    const int width = std::clamp(content->sizeHint().width(), kNarrowest * letter, kWidest * letter);
    const int height = std::min({layout->totalHeightForWidth(width), kHighest * fontMetrics().lineSpacing(),
                                 screen()->availableSize().height() * 2 / 3});
    area->setMinimumSize(width, height);
    auto* all = new QVBoxLayout(this);
    all->addWidget(area, 1);
    AddOkButton(*all);
}

void CAboutDlg::AddHeading(QVBoxLayout& layout)
{
    auto* icon = new QLabel(this);
    icon->setPixmap(QIcon(QStringLiteral(":/icons/pastille.svg")).pixmap(kIconSize));
    icon->setAccessibleName(Text(strings::kProduct));
    QLabel* heading = MakeBoldLabel(this, windowTitle());
    heading->setWordWrap(true);
    QFont font = heading->font();
    font.setPointSizeF(QFontInfo(font).pointSizeF() * 1.5);
    heading->setFont(font);
    QLabel* version = MakeLabel(this, m_app.LanguageText("IDS_VERSION_TEXT") + QLatin1Char(' ') +
                                          VersionNumbers(QStringLiteral(PASTILLE_VERSION)));
    version->setWordWrap(true);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* texts = new QVBoxLayout;
    texts->addWidget(heading);
    texts->addWidget(version);
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    row->addWidget(icon);
    row->addLayout(texts, 1);
    layout.addLayout(row);
    layout.addSpacing(12);
}

void CAboutDlg::AddLink(QVBoxLayout& layout, const QString& text, const char* addressKey)
{
    auto* link = new CLinkButton(text, this);
    connect(link, &QAbstractButton::clicked, this, [this, addressKey] { OpenLink(addressKey); });
    layout.addWidget(link);
}

void CAboutDlg::AddOkButton(QVBoxLayout& layout)
{
    auto* buttons = new QDialogButtonBox(this);
    auto* ok = buttons->addButton(m_app.LanguageText("IDS_OK"), QDialogButtonBox::AcceptRole);
    ok->setDefault(true);
    ok->setFocus();
    if (ok->text().isEmpty())
        ok->setAccessibleName(QStringLiteral("OK"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout.addWidget(buttons);
}

void CAboutDlg::OpenLink(const char* addressKey)
{
    const QString address = m_app.LanguageText(addressKey);
    const int result = m_app.Host().Open(address);
    if (result > 32)
        return;
    if (result == 0 || result == 2 || result == 31) {
        if (!m_app.Host().StartProgram("iexplore.exe", {address}))
            m_app.Host().StartProgram("xdg-open", {address});
        return;
    }
    const std::u16string_view text = LinkErrorText(result);
    if (!text.empty())
        ShowBox(this, Text(text), m_app.LanguageText("IDS_ERROR"), QMessageBox::Critical);
}

}  // namespace pastille::app
