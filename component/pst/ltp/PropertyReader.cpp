#include "component/pst/ltp/PropertyReader.h"

#include <algorithm>

#include "component/pst/ltp/StoredValue.h"

namespace pastille::component::pst {
namespace {

std::uint16_t IdOf(const format::PropertyContextRecord& record)
{
    return record.tag.id;
}

}  // namespace

CPropertyReader::CPropertyReader(INodeDatabase& database, const NodeRecord& node)
    : m_database(database), m_node(node), m_blocks(std::make_unique<CDataTreeReader>(database, node.data))
{
    m_heap = Require(format::CHeapView::Open(database.Layout(), *m_blocks));
    format::PropertyContextRecords context = Require(format::ReadPropertyContext(*m_heap));
    if (context.fault)
        throw CFormatError(*context.fault);
    m_records = std::move(context.records);
    const auto unsorted = std::ranges::adjacent_find(m_records, std::ranges::greater_equal{}, IdOf);
    if (unsorted != m_records.end())
        throw CFormatError({"PC", "wPropId", unsorted->tag.id, 0});
}

const format::PropertyContextRecord* CPropertyReader::FindRecord(std::uint16_t id) const
{
    const auto at = std::ranges::lower_bound(m_records, id, {}, IdOf);
    return at != m_records.end() && at->tag.id == id ? &*at : nullptr;
}

std::vector<format::PropertyTag> CPropertyReader::Tags() const
{
    std::vector<format::PropertyTag> tags;
    for (const format::PropertyContextRecord& record : m_records)
        tags.push_back(record.tag);
    return tags;
}

PropertyValue CPropertyReader::ReadInline(const format::PropertyContextRecord& record) const
{
    PropertyValue value{record.tag, std::vector<std::byte>(4), {}};
    format::StoreLE<std::uint32_t>(value.bytes, 0, record.valueOrHnid);
    value.bytes.resize(format::StorageRuleOf(record.tag.type).fixedSize);
    return value;
}

NodeRecord CPropertyReader::RequireSubnode(std::uint32_t nid)
{
    const auto subnode = FindSubnode({nid});
    if (!subnode)
        throw CFormatError({"PC", "dwValueHnid", nid, 0});
    return *subnode;
}

std::optional<std::uint64_t> CPropertyReader::SizeOf(std::uint16_t id)
{
    const format::PropertyContextRecord* const record = FindRecord(id);
    if (record == nullptr)
        return std::nullopt;
    const format::PropertyStorageRule rule = format::StorageRuleOf(record->tag.type);
    if (rule.isInlineInContext)
        return rule.fixedSize;
    return StoredSize({m_database, *m_heap, m_node.sub}, record->valueOrHnid);
}

std::optional<PropertyValue> CPropertyReader::Read(std::uint16_t id, std::uint64_t maximumBytes)
{
    const format::PropertyContextRecord* const record = FindRecord(id);
    if (record == nullptr)
        return std::nullopt;
    if (format::StorageRuleOf(record->tag.type).isInlineInContext)
        return ReadInline(*record);
    PropertyValue value =
        ReadStoredValue({m_database, *m_heap, m_node.sub}, record->tag, record->valueOrHnid, maximumBytes);
    if (value.tree)
        return std::nullopt;
    return value;
}

std::unique_ptr<CDataTreeReader> CPropertyReader::Open(std::uint16_t id)
{
    const format::PropertyContextRecord* const record = FindRecord(id);
    if (record == nullptr || format::StorageRuleOf(record->tag.type).isInlineInContext ||
        format::IsHeapId(record->valueOrHnid))
        return nullptr;
    return std::make_unique<CDataTreeReader>(m_database, RequireSubnode(record->valueOrHnid).data);
}

std::optional<NodeRecord> CPropertyReader::OpenObject(std::uint16_t id)
{
    const auto value = Read(id);
    if (!value || value->tag.type != format::PropertyType::Object)
        return std::nullopt;
    return RequireSubnode(format::LoadLE<std::uint32_t>(value->bytes, 0));
}

CPropertyBag CPropertyReader::ReadAll(std::uint64_t inlineBytes)
{
    CPropertyBag bag;
    for (const format::PropertyContextRecord& record : m_records) {
        if (format::StorageRuleOf(record.tag.type).isInlineInContext)
            bag.Set(ReadInline(record));
        else
            bag.Set(ReadStoredValue({m_database, *m_heap, m_node.sub}, record.tag, record.valueOrHnid,
                                    inlineBytes));
    }
    return bag;
}

}  // namespace pastille::component::pst
