#include "app/PastilleApp.h"

#include "app/InformationDlg.h"
#include "app/Languages.h"
#include "app/MailMode.h"
#include "app/MainFrame.h"
#include "app/MessageBox.h"
#include "app/Strings.h"
#include "platform/Host.h"
#include "platform/IniFile.h"
#include "platform/InstanceLock.h"
#include "platform/Registry.h"
#include "platform/Text.h"

#include <QCoreApplication>

#include <algorithm>
#include <string_view>
#include <system_error>

namespace pastille::app {
namespace {

namespace fs = std::filesystem;

constexpr char kSection[] = "Pastille";
constexpr char kLanguageKey[] = "IDS_LANGUAGE";
constexpr char kDefaultLanguageKey[] = "IDS_DEFAULT_LANGUAGE";
constexpr char kAbbreviationKey[] = "IDS_LANGUAGE_ABR";
constexpr char kEnglish[] = "English";
constexpr std::size_t kLongestValue = 1040;      // UTF-16 units
constexpr std::size_t kLongestAboutText = 2000;  // the same
/// Major version of the operating system with which the system's locale is written down as well.
constexpr unsigned kOsWithLocaleName = 6;

constexpr std::array kMailClientKeys = {
    "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE",
    "HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE"};

bool Refuse(std::u16string_view text, std::u16string_view caption, QMessageBox::Icon icon)
{
    ShowBox(nullptr, text, caption, icon);
    return false;
}

}  // namespace

CPastilleApp::CPastilleApp(IHost& host, platform::IFileSystem& fileSystem,
                           writer::IComponentFactory& component)
    : m_host(host),
      m_fileSystem(fileSystem),
      m_component(component),
      m_languageNames{QStringLiteral("English"), QStringLiteral("French"), QStringLiteral("German"),
                      QStringLiteral("Italian"), QStringLiteral("Spanish")}
{
}

CPastilleApp::~CPastilleApp() = default;

bool CPastilleApp::InitInstance(const fs::path& store)
{
    ChoosePaths();
    ChooseLanguage();
    LoadLanguageTables();
    if (!TakeInstanceLock() || !CheckMailClient() || !CheckMailMode())
        return false;
    // The maker's name: below it lie this program's keys, the layout of its windows among them.
    QCoreApplication::setOrganizationName(QStringLiteral("Orvane"));
    m_mainFrame = std::make_unique<CMainFrame>(*this, store);
    m_mainFrame->show();
    return true;
}

void CPastilleApp::ChoosePaths()
{
    m_settingsPath = m_host.InstallationFolder() / "settings.ini";
    if (platform::HasOwnHome() || !m_host.IsInstallationOwn() || !platform::CanBeWritten(m_settingsPath))
        m_settingsPath = m_host.ConfigFolder() / "settings.ini";
}

void CPastilleApp::ChooseLanguage()
{
    const auto read = [this] {
        return Text(platform::CIniFile(m_settingsPath).Text(kSection, kLanguageKey, kLongestValue));
    };
    m_language = read();
    if (!m_language.isEmpty())
        return;
    std::uint32_t identifier = m_host.UserInterfaceLanguage();
    if (identifier == 0)
        identifier = m_host.UserLocale();
    const Language language = LanguageOf(identifier);

    std::error_code ignored;
    fs::create_directories(m_settingsPath.parent_path(), ignored);
    platform::CIniFile settings(m_settingsPath);
    if (m_host.OsMajorVersion() == kOsWithLocaleName)
        settings.Set(kSection, "IDS_LOCALE_NAME", m_host.SystemLocaleName());
    settings.Set(kSection, kDefaultLanguageKey, language.name);
    settings.Set(kSection, kLanguageKey, language.name);
    settings.Set(kSection, kAbbreviationKey, language.abbreviation);
    static_cast<void>(settings.Write());
    // What could not be written is not in use: the language is chosen again at the next start.
    m_language = read();
}

bool CPastilleApp::ReadLanguageFile(const QString& language)
{
    m_languagePath = m_host.InstallationFolder() / "Lang" / (language.toStdString() + ".ini");
    const platform::CIniFile file(m_languagePath);
    for (std::size_t n = 0; n < m_languageNames.size(); ++n) {
        const std::string digit = std::to_string(n);
        m_languageNames[n] = Text(file.Text(kSection, "IDS_LANGUAGE_" + digit, kLongestValue));
        m_languageAbbreviations[n] = Text(file.Text(kSection, "IDS_LANGUAGE_ABR_" + digit, kLongestValue));
    }
    return file.WasRead();
}

void CPastilleApp::LoadLanguageTables()
{
    if (!ReadLanguageFile(m_language))
        FallBackToEnglish();
}

void CPastilleApp::FallBackToEnglish()
{
    platform::CIniFile settings(m_settingsPath);
    settings.Set(kSection, kDefaultLanguageKey, kEnglish);
    settings.Set(kSection, kLanguageKey, kEnglish);
    // The names are those that the missing file left, so the abbreviation mostly stays as it was.
    const auto* found = std::find(m_languageNames.begin(), m_languageNames.end(), QLatin1String(kEnglish));
    if (found != m_languageNames.end()) {
        const auto n = static_cast<std::size_t>(found - m_languageNames.begin());
        settings.Set(kSection, kAbbreviationKey, m_languageAbbreviations[n].toStdString());
    }
    static_cast<void>(settings.Write());
    m_language = QLatin1String(kEnglish);
    ReadLanguageFile(m_language);
}

bool CPastilleApp::TakeInstanceLock()
{
    using platform::CInstanceLock;
    m_lock = std::make_unique<CInstanceLock>(m_host.RuntimeFolder() / "instance.lock");
    switch (m_lock->Result()) {
        case CInstanceLock::State::Held:
            return true;
        case CInstanceLock::State::HeldByOther:
            return Refuse(strings::kAlreadyRunning, strings::kError, QMessageBox::Critical);
        case CInstanceLock::State::Failed:
            break;
    }
    return Refuse(strings::kLaunchFailed, strings::kError, QMessageBox::Critical);
}

bool CPastilleApp::CheckMailClient()
{
    m_registry = std::make_unique<platform::CRegistry>(m_host.ConfigFolder() / "registry.ini");
    const bool isInstalled = std::any_of(kMailClientKeys.begin(), kMailClientKeys.end(),
                                         [this](const char* key) { return m_registry->HasWritableKey(key); });
    if (!isInstalled)
        return Refuse(strings::kOutlookNotInstalled, strings::kError, QMessageBox::Critical);
    if (m_host.IsRunning(kMailClientProcess))
        return Refuse(strings::kOutlookIsRunning, strings::kWarning, QMessageBox::Warning);
    return true;
}

bool CPastilleApp::CheckMailMode()
{
    if (IsInternetMailOnly(*m_registry))
        CInformationDlg(m_host, *m_registry).exec();
    if (IsInternetMailOnly(*m_registry))
        return Refuse(strings::kImoNotSupported, strings::kProduct, QMessageBox::Information);
    return true;
}

QString CPastilleApp::LanguageText(const char* key) const
{
    return Text(platform::CIniFile(m_languagePath).Text(kSection, key, kLongestAboutText));
}

}  // namespace pastille::app
