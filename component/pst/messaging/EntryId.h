#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "format/Bytes.h"
#include "format/Ids.h"

namespace pastille::component::pst {

/// PidTagRecordKey of a store: tells it from all others and stands in each of its EntryIDs.
using RecordKey = std::array<std::byte, 16>;

/// EntryID of a node: flags 4 (zero), record key 16, NID 4. [MS-PST] 2.4.3.2
using EntryId = std::array<std::byte, 24>;

inline EntryId MakeEntryId(const RecordKey& key, format::Nid nid)
{
    EntryId id{};
    for (std::size_t i = 0; i < key.size(); ++i)
        id[4 + i] = key[i];
    format::StoreLE(std::span<std::byte>(id), 20, nid.value);
    return id;
}

/// The NID of an EntryID. The record key is not looked at: copied stores carry that of another store here.
inline std::optional<format::Nid> NidOfEntryId(std::span<const std::byte> id)
{
    const format::CByteView view(id);
    const auto nid = view.Read<std::uint32_t>(20);
    return view.Size() == EntryId{}.size() && nid ? std::optional(format::Nid{*nid}) : std::nullopt;
}

}  // namespace pastille::component::pst
