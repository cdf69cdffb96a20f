#include "recovery/SourceItem.h"

#include <algorithm>
#include <utility>

#include "format/PropertyTag.h"
#include "format/WideText.h"

namespace pastille::recovery {

bool CSourceItem::Open(std::uint32_t bidData, std::uint32_t bidSub)
{
    m_heap = store::CHeapBlock();
    m_records.clear();
    m_subnodes.reset();
    m_bidSub = bidSub;
    if (!ReadHeap(bidData))
        return false;
    auto records = m_heap.PropertyRecords(true);
    if (!records)
        return false;
    m_records = std::move(*records);
    return true;
}

bool CSourceItem::ReadHeap(std::uint32_t bidData)
{
    store::CBlockReader& reader = m_source.reader;
    const auto block = store::FirstDataBlock(reader, bidData);
    if (!block || !reader.ReadDecoded(*block, m_bytes))
        return false;
    m_heap = store::CHeapBlock(format::CByteView(m_bytes), reader.Layout());
    if (reader.AcceptsSignature(m_heap.Signature()))
        return true;
    if (reader.Kind() != store::FileKind::Ost)
        return false;
    reader.Inflate(m_bytes);
    m_heap = store::CHeapBlock(format::CByteView(m_bytes), reader.Layout());
    return reader.AcceptsSignature(m_heap.Signature());
}

const std::vector<store::SubnodeEntry>& CSourceItem::Subnodes()
{
    if (!m_subnodes)
        m_subnodes = m_bidSub == 0 ? std::vector<store::SubnodeEntry>()
                                   : store::LoadSubnodes(m_source.reader, m_bidSub, m_mostSubnodes);
    return *m_subnodes;
}

std::optional<std::u16string> CSourceItem::MessageClass(const store::PropertyRecord& record) const
{
    const auto bytes = m_heap.Allocation(record.value);
    if (!bytes)
        return std::nullopt;
    return m_source.reader.Layout().wide ? format::WideText(bytes->Bytes())
                                         : m_source.codePage.ToUtf16(bytes->Bytes());
}

bool CSourceItem::IsWithinReach(const writer::SourceProperty& property)
{
    if (PassesBoundsTest(property.value))
        return true;
    const bool isText = property.type == static_cast<std::uint16_t>(format::PropertyType::String) ||
                        property.type == static_cast<std::uint16_t>(format::PropertyType::String8);
    return isText && SpendSearch() &&
           std::ranges::find(Subnodes(), property.value, &store::SubnodeEntry::nid) != Subnodes().end();
}

/// Takes a search through the subnodes off what texts may take.
bool CSourceItem::SpendSearch()
{
    if (m_textBytesLeft == 0)
        return false;
    m_textBytesLeft -= std::min<std::uint64_t>(m_textBytesLeft, Subnodes().size());
    return true;
}

std::u16string CSourceItem::StringValue(std::uint16_t type, std::uint32_t hnid)
{
    if (hnid == 0)
        return {};  // no data. [MS-PST] 2.3.3.2
    constexpr std::uint32_t kTypeOfNid = 0x1F;
    static const std::vector<store::SubnodeEntry> kNone;
    // Subnodes are read only for a value that may lie in one of them.
    const bool mayBeElsewhere = (hnid & kTypeOfNid) != 0 || !m_heap.Allocation(hnid);
    const bool readsSubnodes = mayBeElsewhere && SpendSearch();
    std::u16string text = store::ReadStringValue(m_source.reader, m_heap, type, hnid,
                                                 readsSubnodes ? Subnodes() : kNone, m_source.codePage);
    if (readsSubnodes)
        m_textBytesLeft -= std::min<std::uint64_t>(m_textBytesLeft, 2 * text.size());
    return text;
}

}  // namespace pastille::recovery
