#include "app/InformationDlg.h"

#include "app/DisclaimerDlg.h"
#include "app/ReadingDlg.h"
#include "app/Strings.h"

namespace pastille::app {
namespace {

constexpr std::u16string_view kConfirm = u"Confirm";  // 176
constexpr std::u16string_view kIgnore = u"Ignore";    // 177
constexpr std::u16string_view kInformationHeading =
    u"Software has detected Outlook 2000 installed on your system in IMO (Internet Mail only) mode. Please "
    u"read below mentioned instructions carefully to effectively recover pst file.";  // 182
constexpr std::u16string_view kRightMode =
    u"In order to recover the pst file the correct mode should be C/W\r\n"
    u"(Corporate or Workgroup Mode).";  // 183
constexpr std::u16string_view kAutomatically =
    u"Software can automatically change the mode of currently\r\n"
    u"installed outlook 2000 to C/W mode, you need to provide \r\n"
    u"Office 2000 CD or the path from where you previously installed \r\n"
    u"Office 2000.";  // 187
constexpr std::u16string_view kProceed =
    u"To proceed press \"Confirm\", else press \"Ignore\" to cancel this \r\n"
    u"operation.\r\n"
    u"\r\n"
    u"You also can perform this operation manually following the \r\n"
    u"procedure as mentioned below:\r\n"
    u"\r\n"
    u"Manual Process";  // 188
constexpr std::u16string_view kSteps =
    u"1. Close this program: press \"Ignore\".\r\n"
    u"2. Launch Outlook 2000.\r\n"
    u"3. Open the menu Tools, choose Options and go to the page\r\n"
    u"Mail Delivery.\r\n"
    u"4. Press \"Reconfigure Mail Support\".\r\n"
    u"5. Pick the mail support option \"Corporate or Workgroup\".\r\n"
    u"6. Confirm the warning. Outlook closes.\r\n"
    u"7. Restart Outlook, so that the Windows Installer installs the\r\n"
    u"required files from the Office 2000 CD.";  // 189

QString Instructions()
{
    const QLatin1Char separator('\r');
    return Text(kRightMode) + separator + Text(kAutomatically) + separator + Text(kProceed) + separator +
           Text(kSteps);
}

}  // namespace

CInformationDlg::CInformationDlg(IHost& host, platform::CRegistry& registry)
    : m_host(host), m_registry(registry)
{
    setObjectName(QStringLiteral("CInformationDlg"));
    setWindowTitle(QStringLiteral("Please read carefully"));
    BuildReadingDialog(*this, Text(kInformationHeading), Instructions(), QStringLiteral("Instructions"),
                       {kConfirm, Qt::Key_C, [this] { Confirm(); }},
                       {kIgnore, Qt::Key_I, [this] { reject(); }});
}

void CInformationDlg::Confirm()
{
    accept();
    CDisclaimerDlg(m_host, m_registry).exec();
}

}  // namespace pastille::app
