#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "recovery/FolderList.h"
#include "recovery/ItemClasses.h"

namespace pastille::recovery {

/// Where an item of the node list belongs, as far as the source alone tells.
struct ItemRoute {
    std::u16string path;                 ///< of its folder in the new store
    const ClassRule* rule = nullptr;     ///< how to find the folder by its name; nullptr: by its path alone
    std::int32_t defaultFolderKind = 0;  ///< not 0: the default folder of this kind, whatever the path
};
/// Nothing when the parent is no folder of the source. REQUIRES: the folders are arranged.
std::optional<ItemRoute> RouteOf(const CFolderList& folders, std::u16string_view messageClass,
                                 std::uint32_t parentNid);

/// Path of the folder of a route in a new store that has every folder of the source.
std::u16string PathOf(const ItemRoute& route);

enum class ItemPlace : std::uint8_t { Folder, Fallback, Nowhere };
/// Where an item of the node list is made; `hasFolder`: its route leads to a folder of the new store.
ItemPlace PlaceOf(const ClassJudgement& judgement, bool hasFolder);

/// True when an orphan of that class comes back.
bool IsOrphanMade(const ClassJudgement& judgement);

}  // namespace pastille::recovery
