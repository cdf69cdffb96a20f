#pragma once

#include <memory>
#include <optional>

#include "app/PastilleApp.h"
#include "component/BuiltInComponent.h"
#include "tests/app/Person.h"
#include "tests/app/TestHost.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {

/// The desktop program of one test, with folders, host and profiles of its own. When the test ends, its
/// windows are closed and its run is stopped.
class CDesktop {
public:
    /// The run and its component use the file system, which must outlive this object.
    explicit CDesktop(platform::IFileSystem& fileSystem = platform::HostFileSystem());
    ~CDesktop();
    CDesktop(const CDesktop&) = delete;
    CDesktop& operator=(const CDesktop&) = delete;

    const std::filesystem::path& Folder() const { return m_folder.Path(); }
    /// A new folder below it.
    std::filesystem::path MakeFolder(const std::string& name) const;

    /// Begins the start-up, which may end in a refusal; with a store to be shown at first.
    void Begins(const std::filesystem::path& store = {});
    /// What InitInstance has returned, once it has.
    std::optional<bool> Started();
    /// Starts; the wizard's first page is in front.
    void Starts();
    /// Starts, and closes the wizard: the frame is in front.
    void StartsAtTheFrame();
    /// Ends the program as the host would, without asking, and makes ready for another start.
    void Ends();

    CTestHost& Host() { return m_host; }
    /// Waits until the host was asked to open a file or folder, and returns its path.
    QString OpenedPath();
    /// On the windows' thread only.
    app::CPastilleApp& App() { return *m_app; }

private:
    platform::IFileSystem& m_fileSystem;
    CTemporaryFolder m_folder;
    CTestHost m_host;
    component::CBuiltInComponent m_component;
    std::unique_ptr<app::CPastilleApp> m_app;
    std::optional<bool> m_started;
};

/// The store that comes with the program.
std::filesystem::path ExampleStore();

/// Makes folders in each of which the host takes milliseconds to find out that a link leads to a folder.
void MakeSlowFolders(const std::filesystem::path& root, int folders);

/// Goes through the wizard from its first page to the one after the source was chosen.
void ChooseSource(CPerson& person, const std::filesystem::path& source);
/// Goes through the whole of it, up to the press on Repair.
void Repair(CPerson& person, const std::filesystem::path& source, const std::filesystem::path& destination,
            bool smart = false);

}  // namespace pastille::tests
