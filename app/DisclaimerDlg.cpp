#include "app/DisclaimerDlg.h"

#include "app/MailMode.h"
#include "app/ReadingDlg.h"
#include "app/Strings.h"

namespace pastille::app {
namespace {

constexpr std::u16string_view kAccept = u"I Accept";          // 184
constexpr std::u16string_view kDecline = u"I do not accept";  // 185
constexpr std::u16string_view kHeading =
    u"Please read the following before the mode of Outlook 2000 is changed.";
constexpr std::u16string_view kAgreement =
    u"When you accept, Pastille changes the mode of the Outlook 2000 that is installed on this computer from "
    u"IMO (Internet Mail Only) to C/W (Corporate or Workgroup).\n"
    u"\n"
    u"Outlook is started so that its installer can add the files that the mode needs. It may ask for the "
    u"Office 2000 CD or for the folder from which Office 2000 was installed. The setting \"MailSupport\" of "
    u"Outlook 2000 is then set to 1. Nothing else is changed: no mail, no account and no .pst file.\n"
    u"\n"
    u"In the new mode Outlook may treat your mail accounts and your fax differently, and may ask you for the "
    u"settings of your accounts again. Have them at hand, and keep a copy of your .pst files.\n"
    u"\n"
    u"You can change the mode back in Outlook at any time: Tools, Options, Mail Delivery, \"Reconfigure Mail "
    u"Support\".\n"
    u"\n"
    u"The change is made at your own decision. It is made without warranty of any kind, as far as the law "
    u"allows. When you do not accept, nothing is changed.";

}  // namespace

CDisclaimerDlg::CDisclaimerDlg(IHost& host, platform::CRegistry& registry)
    : m_host(host), m_registry(registry)
{
    setObjectName(QStringLiteral("CDisclaimerDlg"));
    setWindowTitle(QStringLiteral("Disclaimer"));
    BuildReadingDialog(*this, Text(kHeading), Text(kAgreement), QStringLiteral("Agreement"),
                       {kAccept, Qt::Key_A, [this] { Accept(); }},
                       {kDecline, Qt::Key_D, [this] { reject(); }});
}

void CDisclaimerDlg::Accept()
{
    accept();
    SwitchMailMode(m_host, m_registry);
}

}  // namespace pastille::app
