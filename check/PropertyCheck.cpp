#include "check/PropertyCheck.h"

#include <algorithm>
#include <cstdio>

#include "check/LtpRules.h"
#include "check/LtpTree.h"
#include "format/Ids.h"
#include "format/NameId.h"
#include "format/PropertyContext.h"

namespace pastille::check {
namespace {

using format::PropertyType;

/// Longest multi-valued property whose elements are looked at, and longest value that is compared.
constexpr std::size_t kMostProperties = 0x10000;    ///< of one context
constexpr std::size_t kLongestMultiple = 1u << 20;  ///< whose elements are looked at
constexpr std::size_t kLongestValue = 1u << 16;     ///< that Bytes hands out

bool IsMultipleOfVaryingLength(PropertyType type)
{
    return type == PropertyType::MultipleString || type == PropertyType::MultipleString8 ||
           type == PropertyType::MultipleBinary;
}

/// Bytes of one character; 0 for what is no string.
std::size_t CharacterSize(PropertyType type)
{
    if (type == PropertyType::String || type == PropertyType::MultipleString)
        return 2;
    return type == PropertyType::String8 || type == PropertyType::MultipleString8 ? 1 : 0;
}

bool EndsWithZero(format::CByteView text, std::size_t characterSize)
{
    if (text.Size() < characterSize)
        return false;
    return std::ranges::all_of(text.Bytes().last(characterSize),
                               [](std::byte b) { return b == std::byte{}; });
}

/// The last bytes of a value, for its terminator: of a tree the last block, once.
std::optional<format::HeldBytes> ReadEnd(CMessagingRun& run, const StoredBytes& stored)
{
    if (stored.isInHeap)
        return stored.held;
    if (!stored.isInSubnode || !run.IsFirstVisit(stored.dataBid))
        return std::nullopt;
    auto tree = run.Database().OpenData(stored.dataBid);
    const auto bytes = !tree || tree->BlockCount() == 0 ? nullptr : tree->BlockAt(tree->BlockCount() - 1);
    if (!bytes)
        return std::nullopt;
    return format::HeldBytes{bytes, format::CByteView(*bytes)};
}

void CheckString(CHeapNode& node, const ValueName& name, const StoredBytes& stored)
{
    const std::size_t characterSize = CharacterSize(name.tag.type);
    if (stored.size % characterSize != 0) {
        node.Note(rules::kValueString, name.Text(), std::to_string(stored.size) + " bytes");
        return;
    }
    const auto end = ReadEnd(node.Run(), stored);
    if (end && EndsWithZero(end->view, characterSize))
        node.Note(rules::kValueTerminator, name.Text());
}

void CheckMultiple(CHeapNode& node, const ValueName& name, const StoredBytes& stored)
{
    const auto bytes = ReadStored(node.Run(), stored, kLongestMultiple);
    if (!bytes)
        return;
    const auto elements = format::SplitMultiple(bytes->view);
    const std::size_t characterSize = CharacterSize(name.tag.type);
    const bool isWhole = elements && std::ranges::all_of(*elements, [&](format::CByteView element) {
                             return characterSize == 0 || element.Size() % characterSize == 0;
                         });
    if (!isWhole)
        node.Note(rules::kValueMultiple, name.Text(),
                  elements ? std::string() : Describe(elements.GetFault()));
}

void CheckObject(CHeapNode& node, const ValueName& name, const StoredBytes& stored)
{
    const auto nid = stored.held.view.ReadOrZero<std::uint32_t>(0);
    const auto* const subnode = node.FindSubnode(nid);
    if (subnode == nullptr)
        node.NoteAstray(rules::kValueObject, name.Text(), "subnode " + Hex(nid));
    else
        node.UseSubnode(*subnode);
}

}  // namespace

std::string ValueName::Text() const
{
    char text[24];
    std::snprintf(text, sizeof(text), "property 0x%08X", static_cast<unsigned>(tag.Value()));
    return row ? "row " + std::to_string(*row) + ", " + text : std::string(text);
}

void CheckStoredValue(CHeapNode& node, const ValueName& name, const StoredBytes& stored)
{
    const PropertyType type = name.tag.type;
    const auto rule = format::StorageRuleOf(type);
    const std::size_t element = format::MultipleElementSize(type);
    if (stored.isUnreadable)
        return;
    if (!format::IsKnownType(type))
        node.Note(rules::kPropertyType, name.Text());
    else if (rule.fixedSize != 0 && stored.size != rule.fixedSize)
        node.Note(rules::kValueSize, name.Text(), Instead(stored.size, rule.fixedSize));
    else if (stored.size == 0 && (stored.isInHeap || stored.isInSubnode))
        node.Note(rules::kValueEmpty, name.Text());
    else if (element != 0 && stored.size % element != 0)
        node.Note(rules::kValueMultiple, name.Text(), std::to_string(stored.size) + " bytes");
    else if (IsMultipleOfVaryingLength(type))
        CheckMultiple(node, name, stored);
    else if (CharacterSize(type) != 0)
        CheckString(node, name, stored);
    else if (type == PropertyType::Object && !name.row)
        CheckObject(node, name, stored);
}

void CheckName(CHeapNode& node, std::uint16_t highestId)
{
    const auto& names = node.Run().nameCount;
    if (names && highestId >= format::namemap::kFirstPropertyId + *names)
        node.Note(rules::kPropertyName, {}, "id " + Hex(highestId));
}

std::optional<format::HeldBytes> ReadStored(CMessagingRun& run, const StoredBytes& stored, std::size_t limit)
{
    if (!stored.isInSubnode && !stored.isUnreadable)
        return stored.held;
    if (stored.isUnreadable || stored.size > limit || !run.TakeValueBytes(stored.size))
        return std::nullopt;
    auto tree = run.Database().OpenData(stored.dataBid);
    if (!tree || tree->Size() > limit)
        return std::nullopt;
    auto all = std::make_shared<std::vector<std::byte>>();
    for (std::size_t i = 0; i < tree->BlockCount(); ++i) {
        const auto block = tree->BlockAt(i);
        if (!block || block->size() > limit - all->size())
            return std::nullopt;
        all->insert(all->end(), block->begin(), block->end());
    }
    const format::CByteView view(*all);
    return format::HeldBytes{std::move(all), view};
}

bool CPropertyContext::Open()
{
    if (!m_node.Open(format::clientsig::kPropertyContext))
        return false;
    bool isContext = true;
    CheckBth(
        m_node, m_node.UserRoot(),
        [&](const BthShape& shape) {
            isContext = shape.keySize == 2 && shape.dataSize == 6;
            if (!isContext)
                m_node.Note(rules::kPropertyRecord, {},
                            std::to_string(shape.keySize) + " and " + std::to_string(shape.dataSize));
            return isContext;
        },
        [this](const LtpRecord& record) { Add(static_cast<std::uint16_t>(record.key), record.data); });
    std::ranges::stable_sort(m_properties, {}, [](const Property& property) { return property.tag.id; });
    CheckName(m_node, m_properties.empty() ? 0 : m_properties.back().tag.id);
    return isContext;
}

void CPropertyContext::Add(std::uint16_t id, format::CByteView data)
{
    // Beyond that the ids repeat themselves, which the BTH's check has noted.
    if (m_properties.size() > kMostProperties)
        return;
    Property property;
    property.tag = {id, static_cast<PropertyType>(data.ReadOrZero<std::uint16_t>(0))};
    const ValueName name{property.tag, {}};
    const auto hnid = data.ReadOrZero<std::uint32_t>(2);
    const auto rule = format::StorageRuleOf(property.tag.type);
    if (rule.isInlineInContext) {
        property.number = hnid;
        property.size = rule.fixedSize;
        const bool isStray = rule.fixedSize < 4 && hnid >> (8 * rule.fixedSize) != 0;
        if (isStray || (property.tag.type == PropertyType::Boolean && hnid > 1))
            m_node.Note(rules::kPropertyInline, name.Text(), Hex(hnid));
    } else if (auto stored = m_node.Take(hnid)) {
        CheckStoredValue(m_node, name, *stored);
        property.size = property.tag.type == PropertyType::Object
                            ? stored->held.view.ReadOrZero<std::uint32_t>(4)
                            : stored->size;
        property.stored = std::move(*stored);
    } else {
        m_node.NoteAstray(rules::kValueMissing, name.Text(), "HNID " + Hex(hnid));
        return;
    }
    m_properties.push_back(std::move(property));
}

const Property* CPropertyContext::Find(std::uint16_t id) const
{
    const auto idOf = [](const Property& property) { return property.tag.id; };
    const auto at = std::ranges::lower_bound(m_properties, id, {}, idOf);
    return at == m_properties.end() || at->tag.id != id ? nullptr : &*at;
}

std::optional<std::uint32_t> CPropertyContext::Number(std::uint16_t id) const
{
    const Property* const property = Find(id);
    if (property == nullptr || !format::StorageRuleOf(property->tag.type).isInlineInContext)
        return std::nullopt;
    return property->number;
}

std::optional<format::HeldBytes> CPropertyContext::Bytes(std::uint16_t id) const
{
    const Property* const property = Find(id);
    if (property == nullptr || format::StorageRuleOf(property->tag.type).isInlineInContext)
        return std::nullopt;
    return ReadStored(m_node.Run(), property->stored, kLongestValue);
}

void NoteMissing(const CPropertyContext& properties, CHeapNode& node, const Rule& rule,
                 std::initializer_list<std::uint16_t> ids)
{
    std::string missing;
    for (const std::uint16_t id : ids)
        if (properties.Find(id) == nullptr)
            missing += (missing.empty() ? "" : ", ") + Hex(id);
    if (!missing.empty())
        node.NoteMissing(rule, {}, "without " + missing);
}

}  // namespace pastille::check
