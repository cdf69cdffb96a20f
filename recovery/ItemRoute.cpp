#include "recovery/ItemRoute.h"

#include "recovery/OutputSetup.h"

namespace pastille::recovery {

using enum ClassJudgement::Fate;

std::optional<ItemRoute> RouteOf(const CFolderList& folders, std::u16string_view messageClass,
                                 std::uint32_t parentNid)
{
    auto path = folders.Path(parentNid);
    if (!path)
        return std::nullopt;
    const ClassRule* rule = FindClassRule(messageClass);
    if (folders.Root() != parentNid)
        return ItemRoute{.path = *std::move(path), .rule = rule};
    // The root has no name to look for in a parent: what has a default folder goes there.
    return ItemRoute{.path = *std::move(path),
                     .defaultFolderKind = rule != nullptr ? rule->defaultFolderKind : 0};
}

std::u16string PathOf(const ItemRoute& route)
{
    if (route.defaultFolderKind == 0)
        return route.path;
    return std::u16string(u"\\").append(DefaultFolderName(route.defaultFolderKind));
}

ItemPlace PlaceOf(const ClassJudgement& judgement, bool hasFolder)
{
    if (!hasFolder || judgement.fate == Nothing)
        return ItemPlace::Fallback;
    return judgement.fate == NoItem ? ItemPlace::Nowhere : ItemPlace::Folder;
}

bool IsOrphanMade(const ClassJudgement& judgement)
{
    return judgement.fate != NoItem;
}

}  // namespace pastille::recovery
