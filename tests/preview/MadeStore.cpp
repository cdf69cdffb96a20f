#include "tests/preview/MadeStore.h"

#include "platform/FileSystem.h"
#include "writer/FolderWalk.h"

namespace pastille::tests {

using namespace writer;

namespace {
constexpr std::u16string_view kName = u"Mailbox";
}

CPreviewedStore::CPreviewedStore(const std::function<void(IStoreFolder& root)>& fill)
    : m_path(m_folder.Path() / "store.pst"),
      m_component(platform::HostFileSystem(), m_folder.Path() / "profiles")
{
    m_component.CreateProfiles()->AddProfile(u"test", 0, Variant());
    const auto session = m_component.CreateSession();
    session->Logon(std::u16string(u"test"));
    const auto store = session->GetStores()->AddPstStore(m_path, Missing{}, std::u16string(kName));
    fill(*store->GetRootFolder());
    store->Commit();
}

std::shared_ptr<preview::CPreviewStore> CPreviewedStore::OpenUnread()
{
    return std::make_shared<preview::CPreviewStore>(m_component, m_path, "windows-1252");
}

std::shared_ptr<preview::CPreviewStore> CPreviewedStore::Open()
{
    auto store = OpenUnread();
    preview::CPreviewStore::CUse use(*store);
    CFolderWalk walk(use.Root(), [](const std::string&) {});
    while (const auto place = walk.Next([](const std::u16string&) { return true; }))
        use.Add(place->folder, place->path);
    return store;
}

std::u16string CPreviewedStore::Key(std::u16string_view path)
{
    return u"\\\\" + std::u16string(kName) + std::u16string(path);
}

CRef<IStoreFolder> AddFolder(IStoreFolder& parent, std::u16string_view name,
                             std::u16string_view containerClass)
{
    const auto folders = parent.GetFolders();
    folders->AddFolder(name,
                       containerClass.empty() ? Variant(Missing{}) : Variant(std::u16string(containerClass)));
    return folders->GetFolder(std::u16string(name));
}

void AddItem(IStoreFolder& folder, std::u16string_view messageClass,
             const std::function<void(IMessageItem& item)>& fill)
{
    const auto item = QueryInterface<IMessageItem>(folder.GetItems()->AddItem(std::u16string(messageClass)));
    fill(*item);
    item->Save();
}

}  // namespace pastille::tests
