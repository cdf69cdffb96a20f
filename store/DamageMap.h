#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "store/SourceStore.h"

namespace pastille::store {

/// Where in the source file something is wrong, by what its blocks and pages say of themselves.
struct DamageMap {
    static constexpr std::uint64_t kStretchBytes = std::uint64_t{1} << 20;
    enum class Stretch : std::uint8_t { Good, Damaged, Unreadable };

    std::vector<Stretch> stretches;  ///< of kStretchBytes each, the last one up to the end of the file
    bool isHeaderSound = false;
    std::optional<std::uint64_t> declaredSize;  ///< of the file in bytes, as a sound header has it
    std::uint64_t damagedBlocks = 0;            ///< named by the tables, but not what lies at their place
    std::uint64_t damagedPages = 0;  ///< tree pages that contradict themselves, allocation maps not there
};

/// Reads the whole source once, front to back, and holds every block of the table against its trailer, and
/// every tree page and allocation map against its own. Files that were never damaged are full of old pages
/// that name space freed or used for something else since: it is no damage where something sound lies, or
/// where a sound allocation map says that nothing does. `proceed` is asked now and then with the offset
/// reached; nothing when it returns false.
/// REQUIRES: the block table is finished.
std::optional<DamageMap> MapDamage(CSourceStore& source, const std::function<bool(std::uint64_t)>& proceed);

}  // namespace pastille::store
