#pragma once

#include <cstdint>
#include <span>

#include "format/Heap.h"
#include "format/TableContext.h"
#include "tests/check/CheckSupport.h"

namespace pastille::tests {

/// The parts of a heap of one block as bytes to change. Raises std::out_of_range for what is not there.
class CHeapPatch {
public:
    explicit CHeapPatch(std::span<std::byte> block);

    std::span<std::byte> Block() const { return m_block; }
    std::span<std::byte> PageMap() const { return m_block.subspan(m_heap.PageMapOffset()); }
    std::span<std::byte> Item(std::uint32_t hid) const;

    // Of a property context without index levels.
    std::span<std::byte> BthHeader() const { return Item(m_heap.UserRoot()); }
    std::span<std::byte> Records() const;
    std::span<std::byte> Record(std::uint16_t id) const;  ///< id, type, HNID
    std::span<std::byte> Value(std::uint16_t id) const;   ///< in the heap

    // Of a table with its rows in the heap and a row index without levels.
    std::span<std::byte> Info() const { return Item(m_heap.UserRoot()); }
    std::span<std::byte> Column(std::uint16_t id) const;  ///< TCOLDESC
    std::span<std::byte> Row(std::size_t number) const;
    std::span<std::byte> Cell(std::size_t row, std::uint16_t id) const;
    std::span<std::byte> RowIndex() const;  ///< the records
    std::span<std::byte> Existence(std::size_t row) const;

private:
    format::TableInfo ReadInfo() const;

    std::span<std::byte> m_block;
    format::CHeapBlockView m_heap;
};

/// Changes the heap of a node, or of a subnode of it.
void EditHeap(CStorePatch& patch, std::uint32_t nid, const std::function<void(const CHeapPatch&)>& edit);
void EditHeap(CStorePatch& patch, std::uint32_t nid, std::uint32_t subnode,
              const std::function<void(const CHeapPatch&)>& edit);

using HeapEdit = std::function<void(const CHeapPatch&)>;
/// A fault in a node's heap.
inline std::function<void(CStorePatch&)> InNode(std::uint32_t nid, HeapEdit edit)
{
    return [nid, edit](CStorePatch& patch) { EditHeap(patch, nid, edit); };
}
inline constexpr std::uint32_t kRootHierarchy = 0x12D;

}  // namespace pastille::tests
