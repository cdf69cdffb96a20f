#include "preview/PreviewStore.h"

#include "platform/Text.h"

namespace pastille::preview {

using namespace writer;

CPreviewStore::CPreviewStore(IComponentFactory& component, const std::filesystem::path& path,
                             const std::string& codePage)
    : m_path(path), m_session(component.CreateSession())
{
    m_store = m_session->GetStores()->OpenPstStore(path, platform::FromUtf8(codePage));
    m_name = m_store->GetDisplayName();
}

std::u16string CPreviewStore::CUse::Add(const CRef<IStoreFolder>& folder, std::u16string_view path)
{
    std::u16string key = u"\\\\" + m_store.m_name + std::u16string(path);
    if (m_store.m_folders.emplace(key, folder).second)
        return key;
    const std::uint32_t number = ++m_store.m_repeats[key];
    key += u'\0' + platform::FromUtf8(std::to_string(number));
    m_store.m_folders.emplace(key, folder);
    return key;
}

CRef<IStoreFolder> CPreviewStore::CUse::Folder(std::u16string_view key) const
{
    const auto found = m_store.m_folders.find(std::u16string(key));
    if (found == m_store.m_folders.end())
        throw _com_error(E_NOT_FOUND, IStoreSession::kInterfaceId);
    return found->second;
}

}  // namespace pastille::preview
