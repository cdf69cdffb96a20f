#pragma once

#include <cstdint>

#include "format/Bytes.h"
#include "format/NamedPropertyMap.h"
#include "store/BlockReader.h"

namespace pastille::store {

/// Reads the Name-to-ID map of the source, the node 0x61, into `map`: the property sets of its GUID stream as
/// groups, and the numeric names with long ids 0x8001 to 0x8FFE. Damage costs names, never the run.
/// [MS-PST] 2.4.7
void ReadNamedProperties(CBlockReader& reader, std::uint32_t bidData, std::uint32_t bidSub,
                         format::CNamedPropertyMap& map);

/// Adds the 8-byte NAMEID record at `record` when it is a numeric name in range. Returns true when a pair was
/// added. [MS-PST] 2.4.7.1
bool AddNamedPropertyRecord(format::CNamedPropertyMap& map, format::CByteView record);

}  // namespace pastille::store
