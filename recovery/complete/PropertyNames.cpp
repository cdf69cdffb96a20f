#include "recovery/complete/PropertyNames.h"

#include <utility>
#include <vector>

namespace pastille::recovery::complete {
namespace {

using namespace format;

/// All that the ids from 0x8000 on can name.
constexpr std::size_t kMostStreamBytes = 0x8000 * NameId::kSize;
constexpr std::size_t kMostTextBytes = 16u << 20;

std::u16string UnknownName(std::uint16_t id)
{
    constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
    std::u16string text = u"Unknown 0x";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += kDigits[(id >> shift) & 0xF];
    return text;
}

}  // namespace

void CPropertyNames::Read(store::complete::CFoundObject& map)
{
    const auto guids = map.Bytes(namemap::kGuidStreamId, kMostStreamBytes);
    const auto entries = map.Bytes(namemap::kEntryStreamId, kMostStreamBytes);
    const auto strings = map.Bytes(namemap::kStringStreamId, kMostTextBytes);
    m_isRead = m_isRead || !entries.empty();
    for (const NameId& record : DecodeNameIds(CByteView(entries))) {
        const std::uint32_t id = namemap::kFirstPropertyId + std::uint32_t{record.index};
        auto name = NameOf(record, CByteView(guids), CByteView(strings));
        if (name && id <= 0xFFFE)
            m_names.try_emplace(static_cast<std::uint16_t>(id), *std::move(name));
    }
}

const PropertyName* CPropertyNames::Find(std::uint16_t sourceId) const
{
    const auto at = m_names.find(sourceId);
    return at == m_names.end() ? nullptr : &at->second;
}

std::uint16_t CPropertyNames::TargetId(std::uint16_t sourceId)
{
    if (sourceId < namemap::kFirstPropertyId)
        return sourceId;
    if (const auto known = m_ids.find(sourceId); known != m_ids.end())
        return known->second;
    const PropertyName* const name = Find(sourceId);
    const std::uint16_t id = m_target->GetPropertyId(
        name != nullptr ? *name : PropertyName{propset::kPublicStrings, 0, UnknownName(sourceId)});
    m_ids.emplace(sourceId, id);
    m_unknownIds += name == nullptr;
    return id;
}

}  // namespace pastille::recovery::complete
