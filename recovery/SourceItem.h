#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/DataTree.h"
#include "store/HeapBlock.h"
#include "store/SourceStore.h"
#include "writer/Component.h"
#include "writer/PropertySource.h"

namespace pastille::recovery {

/// The source item that is being read: its property context, decoded, and its subnodes. One object serves all
/// items, one after the other.
class CSourceItem final : public writer::IPropertySource {
public:
    /// Both must outlive this object.
    /// `mostSubnodes`: how many subnodes are taken of each item.
    CSourceItem(store::CSourceStore& source, const writer::CRef<writer::IStoreFolder>& target,
                std::size_t mostSubnodes = store::kMostSubnodes)
        : m_source(source), m_target(target), m_mostSubnodes(mostSubnodes)
    {
    }

    /// Reads the item's data block, the first one of several. False when there is none or when it is no
    /// property context; Records() is empty then.
    bool Open(std::uint32_t bidData, std::uint32_t bidSub);

    const store::CHeapBlock& Heap() const { return m_heap; }
    const std::vector<store::PropertyRecord>& Records() const { return m_records; }
    /// The node's subnodes, read when they are first asked for.
    const std::vector<store::SubnodeEntry>& Subnodes();
    store::CSourceStore& Source() { return m_source; }
    const store::CSourceStore& Source() const { return m_source; }

    /// The message class that a record points to; nothing when it lies outside the block. 8-bit text in ANSI
    /// files, UTF-16 in the others, whatever the record's type says.
    std::optional<std::u16string> MessageClass(const store::PropertyRecord& record) const;
    /// Renews what the texts in subnodes, and looking for them, may take from now on, in bytes; none without
    /// it. Any number of properties may name one subnode.
    void AllowTexts(std::uint64_t bytes) { m_textBytesLeft = bytes; }
    /// True when the value can be handed to a writer: it stays inside the block, or is a string that one of
    /// the node's subnodes holds.
    bool IsWithinReach(const writer::SourceProperty& property);

    bool PassesBoundsTest(std::uint32_t value) const override { return m_heap.PassesBoundsTest(value); }
    std::optional<format::CByteView> Allocation(std::uint32_t hid) const override
    {
        return m_heap.Allocation(hid);
    }
    std::optional<format::CByteView> Value(std::uint32_t hid) const override { return m_heap.Value(hid); }
    std::u16string StringValue(std::uint16_t type, std::uint32_t hnid) override;
    const format::CNamedPropertyMap& NamedProperties() const override { return m_source.namedProperties; }
    const platform::CCodePage& CodePage() const override { return m_source.codePage; }
    bool IsOst() const override { return m_source.reader.Kind() == store::FileKind::Ost; }
    std::u16string TargetFolderName() override { return m_target->GetName(); }

private:
    bool ReadHeap(std::uint32_t bidData);
    bool SpendSearch();

    store::CSourceStore& m_source;
    const writer::CRef<writer::IStoreFolder>& m_target;
    store::CBlockReader::Buffer m_bytes;
    store::CHeapBlock m_heap;
    std::vector<store::PropertyRecord> m_records;
    std::uint32_t m_bidSub = 0;
    std::size_t m_mostSubnodes;
    std::uint64_t m_textBytesLeft = 0;
    std::optional<std::vector<store::SubnodeEntry>> m_subnodes;
};

}  // namespace pastille::recovery
