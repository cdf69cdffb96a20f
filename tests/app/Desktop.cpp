#include "tests/app/Desktop.h"

#include <QThread>

#include <cstdio>
#include <cstdlib>

#include "app/MainFrame.h"
#include "tests/support/StoreFile.h"

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

void CDesktop::Begins()
{
    CPerson::OnUi([this] {
        m_started.reset();
        m_app = std::make_unique<app::CPastilleApp>(m_host, m_fileSystem, m_component);
    });
    CPerson::BeginOnUi([this] { m_started = m_app->InitInstance(); });
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

QString Shown(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

std::filesystem::path ExampleStore()
{
    return std::filesystem::path(PASTILLE_SOURCE_FOLDER) / "examples/damaged.pst";
}

std::filesystem::path MakeLongStore(const std::filesystem::path& path)
{
    constexpr std::uint64_t kSize = std::uint64_t{16} << 30;
    const auto file = platform::HostFileSystem().Create(path);
    CStoreFile writer(*file, {});
    for (std::uint32_t nid : {0x21u, 0x61u, 0x122u})
        writer.AddNode({.nid = nid, .bidData = writer.WriteBlock(Bytes(64, std::byte{1}))});
    writer.Finish();
    file->SetSize(kSize);
    return path;
}

}  // namespace pastille::tests
