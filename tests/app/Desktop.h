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

    /// Begins the start-up, which may end in a refusal.
    void Begins();
    /// What InitInstance has returned, once it has.
    std::optional<bool> Started();
    /// Starts; the wizard's first page is in front.
    void Starts();
    /// Starts, and closes the wizard: the frame is in front.
    void StartsAtTheFrame();
    /// Ends the program as the host would, without asking, and makes ready for another start.
    void Ends();

    CTestHost& Host() { return m_host; }
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

/// A path as people see it.
QString Shown(const std::filesystem::path& path);

/// The store that comes with the program.
std::filesystem::path ExampleStore();

/// A store that is recognised at once and takes long to scan: a hole of many GB follows its pages.
std::filesystem::path MakeLongStore(const std::filesystem::path& path);

}  // namespace pastille::tests
