#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "format/Heap.h"
#include "format/PropertyContext.h"
#include "store/complete/NodeData.h"

namespace pastille::store::complete {

/// A property's value as it could be read: bytes at once, or a tree to be streamed.
struct FoundValue {
    std::vector<std::byte> bytes;
    std::unique_ptr<CNodeData> tree;  ///< of a value in a subnode; `bytes` is empty then
    std::optional<SourceFault>
        fault;  ///< why there is no value; what a tree's leaves lack shows itself there
    bool isThere = false;

    std::uint64_t Size() const { return tree ? tree->Size() : bytes.size(); }
};

/// A heap and the subnodes beside it: where the HNIDs of an object's properties and rows lead.
/// [MS-PST] 2.3.3.2
class CFoundHeap {
public:
    /// `blocks` must outlive this object.
    CFoundHeap(CSourceBlocks& blocks, const NodeReference& reference);
    CFoundHeap(const CFoundHeap&) = delete;
    CFoundHeap& operator=(const CFoundHeap&) = delete;

    /// Reads the heap's first block. False when there is no heap; Fault() tells why.
    bool Open();
    /// REQUIRES: opened.
    const format::CHeapView& Heap() const { return *m_heap; }
    /// Read when they are first asked for.
    const CSubnodes& Subnodes();
    CSourceBlocks& Blocks() { return m_blocks; }
    const NodeReference& Reference() const { return m_reference; }

    /// The value behind an HNID. A fault when it leads nowhere or its size is none of the type.
    FoundValue Value(format::PropertyTag tag, std::uint32_t hnid);
    /// The first fault of the heap's own blocks so far.
    const std::optional<SourceFault>& Fault() const { return m_data.Fault(); }

private:
    CSourceBlocks& m_blocks;
    NodeReference m_reference;
    CNodeData m_data;
    std::optional<format::CHeapView> m_heap;
    std::optional<CSubnodes> m_subnodes;
};

/// An object of the source with its properties: a message, a folder, an attachment. [MS-PST] 2.3.3
class CFoundObject {
public:
    CFoundObject(CSourceBlocks& blocks, const NodeReference& reference) : m_heap(blocks, reference) {}

    /// False when this is no property context or nothing of it can be read.
    bool Open();
    /// In stored order; of an id that stands twice only the first.
    std::span<const format::PropertyContextRecord> Records() const { return m_records; }
    const format::PropertyContextRecord* Find(std::uint16_t id) const;
    /// What keeps the properties from being whole, as far as they have been read; after a failing Open why it
    /// failed.
    const std::optional<SourceFault>& Fault() const { return m_fault; }

    FoundValue Value(const format::PropertyContextRecord& record);
    /// A whole number of 16 or 32 bits, of any such type.
    std::optional<std::uint32_t> Number(std::uint16_t id) const;
    /// The bytes of a value in the heap, or of at most `mostBytes` in a subnode; empty when there are none.
    std::vector<std::byte> Bytes(std::uint16_t id, std::size_t mostBytes = 65'536);

    CFoundHeap& Heap() { return m_heap; }
    const CSubnodes& Subnodes() { return m_heap.Subnodes(); }

private:
    CFoundHeap m_heap;
    std::vector<format::PropertyContextRecord> m_records;
    std::optional<SourceFault> m_fault;
};

}  // namespace pastille::store::complete
