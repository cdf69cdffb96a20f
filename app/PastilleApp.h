#pragma once

#include <array>
#include <filesystem>
#include <memory>
#include <string>

#include <QString>

#include "app/AppState.h"
#include "app/Host.h"
#include "platform/FileSystem.h"
#include "writer/Component.h"

namespace pastille::platform {
class CInstanceLock;
class CRegistry;
}  // namespace pastille::platform

namespace pastille::app {

class CMainFrame;

/// The application: what happens from the start of the process until the main frame is shown.
class CPastilleApp {
public:
    /// All must outlive the application.
    CPastilleApp(IHost& host, platform::IFileSystem& fileSystem, writer::IComponentFactory& component);
    ~CPastilleApp();
    CPastilleApp(const CPastilleApp&) = delete;
    CPastilleApp& operator=(const CPastilleApp&) = delete;

    /// Runs the checks in their order, each of which shows its refusal itself, and shows the main frame.
    /// False when start-up ended; the process ends then. With a store (its whole path), the frame shows that
    /// instead of the wizard.
    bool InitInstance(const std::filesystem::path& store = {});

    /// Text of a key of the current language's file; empty when it has none.
    QString LanguageText(const char* key) const;
    const std::array<QString, 5>& LanguageNames() const { return m_languageNames; }
    const std::array<QString, 5>& LanguageAbbreviations() const { return m_languageAbbreviations; }

    IHost& Host() { return m_host; }
    platform::IFileSystem& FileSystem() { return m_fileSystem; }
    writer::IComponentFactory& Component() { return m_component; }
    /// The per-user registry; there once InitInstance has come to the checks of the mail client.
    platform::CRegistry& Registry() { return *m_registry; }
    RepairChoices& Choices() { return m_choices; }
    /// nullptr until InitInstance has made it.
    CMainFrame* MainFrame() { return m_mainFrame.get(); }

private:
    void ChoosePaths();
    void ChooseLanguage();
    void LoadLanguageTables();
    /// Names and abbreviations from the file of a language. False when it cannot be read.
    bool ReadLanguageFile(const QString& language);
    void FallBackToEnglish();
    /// Each shows its refusal. False: start-up ends.
    bool TakeInstanceLock();
    bool CheckMailClient();
    bool CheckMailMode();

    IHost& m_host;
    platform::IFileSystem& m_fileSystem;
    writer::IComponentFactory& m_component;
    QString m_language;
    std::array<QString, 5> m_languageNames;
    std::array<QString, 5> m_languageAbbreviations;
    std::filesystem::path m_settingsPath;
    std::filesystem::path m_languagePath;
    std::unique_ptr<platform::CRegistry> m_registry;
    std::unique_ptr<platform::CInstanceLock> m_lock;
    RepairChoices m_choices;
    std::unique_ptr<CMainFrame> m_mainFrame;
};

}  // namespace pastille::app
