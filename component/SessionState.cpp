#include "component/SessionState.h"

#include <algorithm>

#include "component/FolderPath.h"
#include "component/pst/messaging/StoreError.h"
#include "platform/FileSystem.h"

namespace pastille::component {
namespace {

using pst::CStoreError;
using pst::Refusal;

constexpr std::u16string_view kPathStart = u"\\\\";

}  // namespace

void CSessionState::RequireLogon() const
{
    if (!m_profile)
        throw CStoreError(Refusal::NotLoggedOn);
}

void CSessionState::Logon(std::u16string_view name)
{
    const auto profile = m_profiles.Read(name);
    if (!profile)
        throw CStoreError(Refusal::NotFound);
    std::vector<Entry> stores;
    for (const ProfileStore& store : profile->stores)
        stores.push_back({store, nullptr});
    m_stores = std::move(stores);
    m_profile = profile->name;
}

std::shared_ptr<pst::CPstStore> CSessionState::AddStore(const std::filesystem::path& path,
                                                        std::u16string_view displayName)
{
    RequireLogon();
    auto profile = m_profiles.Read(*m_profile);
    if (!profile)
        throw CStoreError(Refusal::NotFound);
    auto store = pst::CPstStore::Create(m_files, path, displayName, m_checkpoints);
    const ProfileStore description{platform::WholePath(path), std::u16string(displayName)};
    profile->stores.push_back(description);
    try {
        m_profiles.Write(*profile);
    } catch (...) {
        store->Abandon();
        store.reset();
        m_files.Remove(path);
        throw;
    }
    m_stores.push_back({description, store});
    return store;
}

std::shared_ptr<pst::CPstStore> CSessionState::Open(Entry& entry)
{
    if (!entry.store) {
        pst::CPstStore::CompleteIfInterrupted(m_files, entry.description.path);
        entry.store = pst::CPstStore::Open(m_files, entry.description.path);
    }
    return entry.store;
}

std::shared_ptr<pst::CPstStore> CSessionState::OpenIfSound(Entry& entry)
{
    try {
        return Open(entry);
    } catch (const CStoreError&) {
        return nullptr;
    } catch (const pst::CFormatError&) {
        return nullptr;
    }
}

std::shared_ptr<pst::CPstStore> CSessionState::DefaultStore()
{
    RequireLogon();
    if (m_stores.empty())
        throw CStoreError(Refusal::NotFound);
    return Open(m_stores.back());
}

CSessionState::Place CSessionState::DefaultFolder(std::int32_t kind)
{
    auto store = DefaultStore();
    pst::Folder* const folder = store->DefaultFolder(kind);
    if (folder == nullptr)
        throw CStoreError(Refusal::NotFound);
    return {std::move(store), folder};
}

CSessionState::Place CSessionState::FolderAt(std::u16string_view path)
{
    RequireLogon();
    if (!path.starts_with(kPathStart))
        throw CStoreError(Refusal::NotFound);
    path.remove_prefix(kPathStart.size());
    std::vector<Entry*> named;
    for (auto entry = m_stores.rbegin(); entry != m_stores.rend(); ++entry)
        if (path.starts_with(entry->description.displayName))
            named.push_back(&*entry);
    // The longest name first, of equal names the store added last.
    std::stable_sort(named.begin(), named.end(), [](const Entry* a, const Entry* b) {
        return a->description.displayName.size() > b->description.displayName.size();
    });
    for (Entry* entry : named) {
        auto store = OpenIfSound(*entry);
        if (!store)
            continue;
        const auto names = path.substr(entry->description.displayName.size());
        if (pst::Folder* const folder = FindFolderBelow(*store, store->RootFolder(), names))
            return {std::move(store), folder};
    }
    throw CStoreError(Refusal::NotFound);
}

}  // namespace pastille::component
