#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <span>
#include <string>

#include "tests/app/Desktop.h"

namespace pastille::tests {

/// A program whose wizard is in front.
class CWizardRun : public testing::Test {
protected:
    void Begins() { desktop.Starts(); }
    /// Begins, and goes on to the page of one of the three choices.
    void BeginsAt(const char* choice)
    {
        Begins();
        GoesOnWith(choice);
    }
    void GoesOnWith(const char* choice)
    {
        person.Clicks(choice);
        person.Clicks("Next");
    }
    app::RepairChoices Choices()
    {
        return CPerson::OnUi([this] { return desktop.App().Choices(); });
    }
    /// Waits until that is the chosen source.
    bool HasSource(const std::filesystem::path& path)
    {
        return CPerson::WaitUntil([&] {
            return Choices().settings.sourcePath == path && Choices().sourceFileName == path.filename();
        });
    }
    /// Makes a file, with its folders, that is no store whatever its name.
    std::filesystem::path MakeFile(const std::string& name) const
    {
        std::filesystem::create_directories((folder / name).parent_path());
        platform::HostFileSystem().Create(folder / name)->WriteAt(0, std::as_bytes(std::span("!")));
        return folder / name;
    }

    static constexpr const char* kDefaultFolders = "Open Default PST File";
    static constexpr const char* kBrowse = "Select PST File Manually";
    static constexpr const char* kSearch = "Find All Your PST Files";

    CDesktop desktop;
    CTestHost& host = desktop.Host();
    const std::filesystem::path& folder = desktop.Folder();
    CPerson person;
};

}  // namespace pastille::tests
