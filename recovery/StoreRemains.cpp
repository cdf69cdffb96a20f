#include "recovery/StoreRemains.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "format/Bytes.h"
#include "format/Header.h"
#include "writer/ComError.h"

namespace pastille::recovery {
namespace {

using namespace writer;

/// A new store has no header until it is complete for the first time.
bool HasHeader(platform::IFileSystem& fileSystem, const std::filesystem::path& path)
{
    const auto file = fileSystem.OpenSource(path);
    std::array<std::byte, sizeof(format::kHeaderMagic)> magic{};
    return file && file->ReadAt(0, magic) == magic.size() &&
           format::LoadLE<std::uint32_t>(magic, 0) == format::kHeaderMagic;
}

bool HoldsItem(const CRef<IStoreFolder>& root)
{
    std::vector<CRef<IStoreFolder>> pending{root};
    while (!pending.empty()) {
        const CRef<IStoreFolder> folder = std::move(pending.back());
        pending.pop_back();
        if (folder->GetItems()->GetCount() > 0)
            return true;
        const auto folders = folder->GetFolders();
        for (std::int32_t i = 1; i <= folders->GetCount(); ++i)
            pending.push_back(folders->GetFolder(i));
    }
    return false;
}

}  // namespace

bool IsWorthKeeping(IComponentFactory& component, platform::IFileSystem& fileSystem,
                    const std::filesystem::path& path)
{
    if (!HasHeader(fileSystem, path))
        return false;
    try {
        const auto stores = component.CreateSession()->GetStores();
        return HoldsItem(stores->OpenPstStore(path, Missing{})->GetRootFolder());
    } catch (const _com_error&) {
        return true;
    }
}

}  // namespace pastille::recovery
