#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "format/PropertyTag.h"
#include "tests/support/StoreMemory.h"

namespace pastille::tests {

/// Collects the items of a heap-on-node. [MS-PST] 2.3.1
class CHeapBuilder {
public:
    /// `blockBytes`: the most that one block may hold; `blockShift`: where a HID keeps the block's index (16;
    /// 19 in 4 KB files).
    CHeapBuilder(std::uint8_t clientSignature, std::size_t blockBytes, unsigned blockShift);

    /// Adds an item of 1 to format::kLargestHeapItem bytes and returns its HID.
    std::uint32_t Add(Bytes item);
    /// Replaces an item by one of the same size.
    void Replace(std::uint32_t hid, Bytes item);
    void SetUserRoot(std::uint32_t hid) { m_userRoot = hid; }
    /// Begins a new block, whatever room the current one has.
    void NextBlock() { m_blocks.emplace_back(); }

    std::vector<Bytes> Finish() const;

private:
    struct Block {
        std::vector<Bytes> items;
        std::size_t bytes = 0;
    };
    std::size_t UsedBytes(std::size_t block, std::size_t moreItems, std::size_t moreBytes) const;
    std::uint8_t FillLevel(std::size_t block) const;

    std::uint8_t m_client;
    std::size_t m_blockBytes;
    unsigned m_shift;
    std::uint32_t m_userRoot = 0;
    std::vector<Block> m_blocks;
};

/// One record of a B-tree-on-heap: key and data as they stand in the leaf. Returns the HID of the root, 0
/// when there is none; `levels` receives bIdxLevels. [MS-PST] 2.3.2
std::uint32_t AddBth(CHeapBuilder& heap, const std::vector<Bytes>& records, std::size_t keyBytes,
                     std::uint8_t& levels);

/// A property as stored: small fixed-size values inline, everything else as bytes.
struct StoredProperty {
    format::PropertyType type = format::PropertyType::Integer32;
    Bytes value;
    std::optional<std::uint32_t> hnid{};  ///< used as it is instead of the value
};

/// Bytes that a type takes inline or in a table cell; 0 for types of changing size.
std::size_t FixedSize(format::PropertyType type);

/// A property context whose values all fit the heap. [MS-PST] 2.3.3
CHeapBuilder BuildPropertyContext(const std::map<std::uint16_t, StoredProperty>& properties,
                                  std::size_t blockBytes = 8176, unsigned blockShift = 16);

/// Puts a value that does not fit the heap into a subnode of the table's node and returns the subnode's NID.
using SubnodeSink = std::function<std::uint32_t(std::span<const std::byte>)>;

struct TableRow {
    std::uint32_t id = 0;
    std::map<std::uint32_t, Bytes> cells;  ///< by tag, values as stored
};

/// What all tables of a store draw from.
struct TableCounters {
    std::uint32_t rowVersion = 0;  ///< the last one given to a row
};

/// What the node of a table holds: heap blocks, and the blocks of its row matrix when that lies in a subnode.
struct BuiltTable {
    std::vector<Bytes> heap;
    std::vector<Bytes> rows;  ///< for subnode kRowMatrixNid; empty when the rows lie in the heap
    static constexpr std::uint32_t kRowMatrixNid = 0x3F;
};

/// A table context. `tags` need not hold the row id and row version, and are sorted here. [MS-PST] 2.3.4
BuiltTable BuildTable(std::vector<std::uint32_t> tags, const std::vector<TableRow>& rows,
                      const SubnodeSink& toSubnode, std::size_t blockBytes, unsigned blockShift, bool ansi,
                      TableCounters& counters);

}  // namespace pastille::tests
