#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <thread>

#include "app/RepairWizard.h"
#include "tests/app/Desktop.h"

namespace pastille::tests {

/// The wizard alone, with folders and choices of its own. What is left of it at the end of the test is
/// closed.
class CWizardRun {
public:
    CWizardRun() : host(folder.Path()) {}
    ~CWizardRun()
    {
        while (m_begun && !Result()) {
            CPerson::OnUi([] {
                if (QWidget* window = CPerson::Window())
                    window->close();
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    CWizardRun(const CWizardRun&) = delete;
    CWizardRun& operator=(const CWizardRun&) = delete;

    void Begins()
    {
        m_begun = true;
        CPerson::BeginOnUi([this] { m_result = app::RunWizard(nullptr, host, choices); });
        person.Sees(QStringLiteral("Open Default PST File"));
    }
    /// Begins, and goes on to the page of one of the three choices.
    void BeginsAt(const char16_t* choice)
    {
        Begins();
        GoesOnWith(choice);
    }
    void GoesOnWith(const char16_t* choice)
    {
        person.Clicks(QString::fromUtf16(choice));
        person.Clicks(QStringLiteral("Next"));
    }
    /// What the wizard has returned, once it has.
    std::optional<bool> Result()
    {
        return CPerson::OnUi([this] { return m_result; });
    }
    /// Waits for the end of the wizard.
    bool EndsWith(bool result)
    {
        CPerson::WaitUntil([this] { return m_result.has_value(); });
        return Result() == result;
    }
    app::RepairChoices Choices()
    {
        return CPerson::OnUi([this] { return choices; });
    }
    /// Makes a file, with its folders.
    std::filesystem::path MakeFile(const std::string& name) const
    {
        const auto path = folder.Path() / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << "!";
        return path;
    }

    static constexpr const char16_t* kDefaultFolders = u"Open Default PST File";
    static constexpr const char16_t* kBrowse = u"Select PST File Manually";
    static constexpr const char16_t* kSearch = u"Find All Your PST Files";

    CTemporaryFolder folder;
    CTestHost host;
    app::RepairChoices choices;
    CPerson person;

private:
    bool m_begun = false;
    std::optional<bool> m_result;
};

}  // namespace pastille::tests
