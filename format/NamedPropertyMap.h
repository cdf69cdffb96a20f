#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "format/Guid.h"

namespace pastille::format {

/// What a run knows of the source's Name-to-ID map: per property set, pairs of a long id and the file-local
/// property id that stands for it. Filled by the reader of the map, asked by the item writers.
/// [MS-PST] 2.4.7
class CNamedPropertyMap {
public:
    struct Pair {
        std::uint32_t lid;         ///< dwPropertyID of a numeric NAMEID
        std::uint32_t propertyId;  ///< 0x8000 + wPropIdx
    };
    struct Group {
        std::uint8_t key = 0;  ///< index of the set in the GUID stream
        std::uint32_t data1 = 0;
        std::uint16_t data2 = 0;
        std::uint16_t data3 = 0;
        std::uint16_t tail16 = 0;
        std::uint64_t tail48 = 0;
        std::vector<Pair> pairs;  ///< in the order of adding
    };

    void Clear();
    /// Adds a property set. REQUIRES: it has no pairs yet.
    void AddGroup(Group group);
    bool IsEmpty() const { return m_groups.empty(); }
    bool HasPairs() const { return !m_lids.empty(); }
    const std::vector<Group>& Groups() const { return m_groups; }

    /// Adds a pair to the group whose key is 0, which is made when the map is empty. Returns false, and adds
    /// nothing, when there are groups but none with key 0, or when the lid or the property id is known there.
    bool AddPair(std::uint32_t lid, std::uint32_t propertyId);

    /// The long id behind a file-local property id, by the pairs of the groups in their order.
    std::optional<std::uint32_t> FindLid(std::uint32_t propertyId) const;

private:
    std::vector<Group> m_groups;
    // Pairs are only ever added to one group, so two sets tell all of them.
    std::unordered_set<std::uint32_t> m_lids;
    std::unordered_map<std::uint32_t, std::uint32_t> m_lidByProperty;
};

}  // namespace pastille::format
