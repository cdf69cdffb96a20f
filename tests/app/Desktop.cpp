#include "tests/app/Desktop.h"

#include <QUrl>

#include <cstdio>
#include <cstdlib>

#include "app/MainFrame.h"

namespace pastille::tests {

CDesktop::CDesktop(platform::IFileSystem& fileSystem)
    : m_fileSystem(fileSystem),
      m_host(m_folder.Path()),
      m_component(fileSystem, m_folder.Path() / "data" / "profiles")
{
}

CDesktop::~CDesktop()
{
    Ends();
}

std::filesystem::path CDesktop::MakeFolder(const std::string& name) const
{
    const auto folder = m_folder.Path() / name;
    std::filesystem::create_directories(folder);
    return folder;
}

void CDesktop::Begins(const std::filesystem::path& store)
{
    CPerson::OnUi([this] {
        m_started.reset();
        m_app = std::make_unique<app::CPastilleApp>(m_host, m_fileSystem, m_component);
    });
    CPerson::BeginOnUi([this, store] { m_started = m_app->InitInstance(store); });
}

std::optional<bool> CDesktop::Started()
{
    return CPerson::OnUi([this] { return m_started; });
}

void CDesktop::Starts()
{
    Begins();
    CPerson person;
    person.Sees(QStringLiteral("Open Default PST File"));
}

void CDesktop::StartsAtTheFrame()
{
    Starts();
    CPerson person;
    person.ClosesWindow();
    person.IsAtTheFrame();
}

void CDesktop::Ends()
{
    // Dialogs wait inside one another; each must be gone before what is below it may go.
    const bool alone = CPerson::WaitUntil([] {
        if (QWidget* popup = QApplication::activePopupWidget())
            popup->close();
        if (QWidget* modal = QApplication::activeModalWidget())
            modal->close();
        return QApplication::activeModalWidget() == nullptr && QThread::currentThread()->loopLevel() <= 1;
    });
    if (!alone) {
        // What it stands on cannot be taken away.
        std::fprintf(stderr, "A window does not close.\n");
        std::abort();
    }
    CPerson::OnUi([this] {
        if (m_app && m_app->MainFrame() != nullptr) {
            m_app->MainFrame()->CloseWithoutAsking();
            m_app->MainFrame()->close();
        }
        m_app.reset();
    });
}

QString CDesktop::OpenedPath()
{
    QStringList opened;
    CPerson::WaitUntil([&] { return !(opened += m_host.TakeOpened()).empty(); });
    return QUrl(opened.join(QLatin1Char(' '))).toLocalFile();
}

std::filesystem::path ExampleStore()
{
    return std::filesystem::path(PASTILLE_SOURCE_FOLDER) / "examples/damaged.pst";
}

void MakeSlowFolders(const std::filesystem::path& root, int folders)
{
    std::string detour;
    for (int step = 0; step < 1'900; ++step)
        detour += "./";
    std::filesystem::create_directory(root / "0");
    for (int link = 1; link < 30; ++link)
        std::filesystem::create_symlink(detour + std::to_string(link - 1), root / std::to_string(link));
    for (int i = 0; i < folders; ++i) {
        const auto below = root / ("folder" + std::to_string(i));
        std::filesystem::create_directory(below);
        std::filesystem::create_symlink("../29", below / "no file.pst");
    }
}

void ChooseSource(CPerson& person, const std::filesystem::path& source)
{
    person.Clicks("Select PST File Manually");
    person.Clicks("Next");
    person.Sees("Select PST file :");
    person.BrowsesTo(source);
    person.Clicks("Next");
    person.Sees("Select the appropriate scanning method");
}

void Repair(CPerson& person, const std::filesystem::path& source, const std::filesystem::path& destination,
            bool smart)
{
    ChooseSource(person, source);
    if (smart)
        person.Clicks("Smart Scan");
    person.BrowsesTo(destination);
    person.Clicks("&Repair");
}

}  // namespace pastille::tests
