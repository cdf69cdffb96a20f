#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "store/BlockReader.h"

namespace pastille::platform {
class CCodePage;
}

namespace pastille::store {

/// One entry of a node's subnode list. [MS-PST] 2.2.2.8.3.3.1
struct SubnodeEntry {
    std::uint32_t nid;
    std::uint32_t bidData;
    std::uint32_t bidSub;
};

/// The subnodes behind a bidSub, in file order; empty when the block is not there or is no subnode block.
/// An index block (SIBLOCK) is followed one level down. At most 700,000 entries are taken.
std::vector<SubnodeEntry> LoadSubnodes(CBlockReader& reader, std::uint32_t bidSub);

/// The BIDs of a node's data blocks behind `bidData`, in order: the block itself when it is no tree. Both
/// tree levels are followed; BIDs of 0 are left out. At most 1,100,000 BIDs are taken.
std::vector<std::uint32_t> LoadDataTree(CBlockReader& reader, std::uint32_t bidData);

/// Hands each data block's contents behind `bidData` on, in order; blocks that are not found are skipped.
/// Stops early when `take` returns false.
void ReadDataTree(CBlockReader& reader, std::uint32_t bidData,
                  const std::function<bool(std::span<const std::byte>)>& take);

/// The value kept in the subnode `nid` as text: UTF-16 for PtypString (0x001F), the code page for PtypString8
/// (0x001E), "" for other types and when the subnode is not found. At most `maximumBytes` are read.
std::u16string ReadSubnodeText(CBlockReader& reader, const std::vector<SubnodeEntry>& subnodes,
                               std::uint32_t nid, std::uint16_t type, const platform::CCodePage& codePage,
                               std::size_t maximumBytes = std::size_t{64} << 20);

/// Bytes as UTF-16 text; an odd last byte is left out.
std::u16string WideText(std::span<const std::byte> bytes);

}  // namespace pastille::store
