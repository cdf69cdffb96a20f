#include "store/complete/FoundObject.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "format/Bytes.h"
#include "format/PropertyIds.h"

namespace pastille::store::complete {
namespace {

using format::PropertyTag;
using format::PropertyType;
using Reason = SourceFault::Reason;

/// More properties than an object has: ids are 16 bits.
constexpr std::size_t kMostRecords = 65'536;

SourceFault StructureFault(const NodeReference& reference)
{
    return {Reason::Structure, reference.bidData, std::nullopt};
}

bool IsSizeOfType(PropertyType type, std::uint64_t size)
{
    const std::size_t fixed = format::StorageRuleOf(type).fixedSize;
    const std::size_t element = format::MultipleElementSize(type);
    return (fixed == 0 || size == fixed) && (element == 0 || size % element == 0);
}

}  // namespace

CFoundHeap::CFoundHeap(CSourceBlocks& blocks, const NodeReference& reference)
    : m_blocks(blocks), m_reference(reference), m_data(blocks, reference.bidData, reference.isAtHome)
{
}

bool CFoundHeap::Open()
{
    auto heap = format::CHeapView::Open(m_blocks.Layout(), m_data);
    if (!heap)
        return false;
    m_heap = *heap;
    return true;
}

const CSubnodes& CFoundHeap::Subnodes()
{
    if (!m_subnodes)
        m_subnodes.emplace(m_blocks, m_reference.bidSub, m_reference.isAtHome);
    return *m_subnodes;
}

FoundValue CFoundHeap::Value(PropertyTag tag, std::uint32_t hnid)
{
    FoundValue value;
    if (hnid == 0) {
        value.isThere = IsSizeOfType(tag.type, 0);
    } else if (format::IsHeapId(hnid)) {
        if (const auto item = m_heap->Item(hnid)) {
            value.bytes.assign(item->view.Bytes().begin(), item->view.Bytes().end());
            value.isThere = IsSizeOfType(tag.type, value.bytes.size());
        }
    } else if (const Subnode* const subnode = Subnodes().Find(hnid)) {
        value.tree =
            std::make_unique<CNodeData>(m_blocks, subnode->reference.bidData, subnode->reference.isAtHome);
        // An attachment whose bytes are lost is there still, with zeros for them.
        const bool isLost = value.tree->IsLost() && tag.id != format::pid::kAttachDataBinary;
        value.isThere =
            value.tree->BlockCount() != 0 && !isLost && IsSizeOfType(tag.type, value.tree->Size());
        value.fault = value.tree->Fault();
    } else {
        value.fault = Subnodes().Fault();
    }
    if (value.isThere)
        return value;
    value.bytes.clear();
    value.tree.reset();
    NoteFirst(value.fault, m_data.Fault());
    NoteFirst(value.fault, StructureFault(m_reference));
    return value;
}

bool CFoundObject::Open()
{
    if (!m_heap.Open()) {
        NoteFirst(m_fault, m_heap.Fault());
        NoteFirst(m_fault, StructureFault(m_heap.Reference()));
        return false;
    }
    auto context = format::ReadPropertyContext(m_heap.Heap());
    NoteFirst(m_fault, m_heap.Fault());
    if (!context || context->fault)
        NoteFirst(m_fault, StructureFault(m_heap.Reference()));
    if (!context || context->records.empty())
        return false;
    std::unordered_set<std::uint16_t> known;
    for (const format::PropertyContextRecord& record : context->records) {
        if (known.insert(record.tag.id).second && m_records.size() < kMostRecords)
            m_records.push_back(record);
    }
    return true;
}

const format::PropertyContextRecord* CFoundObject::Find(std::uint16_t id) const
{
    const auto at = std::ranges::find(
        m_records, id, [](const format::PropertyContextRecord& record) { return record.tag.id; });
    return at == m_records.end() ? nullptr : &*at;
}

FoundValue CFoundObject::Value(const format::PropertyContextRecord& record)
{
    const format::PropertyStorageRule rule = format::StorageRuleOf(record.tag.type);
    if (!rule.isInlineInContext) {
        FoundValue value = m_heap.Value(record.tag, record.valueOrHnid);
        NoteFirst(m_fault, m_heap.Fault());
        return value;
    }
    FoundValue value;
    value.bytes.resize(sizeof record.valueOrHnid);
    format::StoreLE<std::uint32_t>(value.bytes, 0, record.valueOrHnid);
    value.bytes.resize(rule.fixedSize);
    value.isThere = true;
    return value;
}

std::optional<std::uint32_t> CFoundObject::Number(std::uint16_t id) const
{
    const auto* const record = Find(id);
    if (record == nullptr)
        return std::nullopt;
    switch (record->tag.type) {
        case PropertyType::Integer16:
            return record->valueOrHnid & 0xFFFF;
        case PropertyType::Integer32:
        case PropertyType::ErrorCode:
            return record->valueOrHnid;
        default:
            return std::nullopt;
    }
}

std::vector<std::byte> CFoundObject::Bytes(std::uint16_t id, std::size_t mostBytes)
{
    const auto* const record = Find(id);
    if (record == nullptr)
        return {};
    FoundValue value = Value(*record);
    if (!value.tree)
        return std::move(value.bytes);
    std::vector<std::byte> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(mostBytes, value.Size())));
    CNodeStream stream(*value.tree);
    std::size_t done = 0;
    while (const std::size_t got = stream.Read(std::span(bytes).subspan(done)))
        done += got;
    bytes.resize(done);
    return bytes;
}

}  // namespace pastille::store::complete
