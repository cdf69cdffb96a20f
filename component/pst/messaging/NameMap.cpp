#include "component/pst/messaging/NameMap.h"

#include <algorithm>
#include <span>
#include <utility>

#include "component/pst/ltp/StringEncoding.h"
#include "component/pst/messaging/StoredText.h"
#include "format/Bytes.h"
#include "format/NameId.h"
#include "format/WideText.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kMostNames = 0xFFFE - format::namemap::kFirstPropertyId + 1;

void AppendRecord(std::vector<std::byte>& stream, const format::NameId& record)
{
    stream.resize(stream.size() + format::NameId::kSize);
    format::EncodeNameId(record, std::span(stream).last(format::NameId::kSize));
}

/// The streams of the map while it is encoded.
struct Streams {
    std::vector<std::byte> guids, entries, strings;
    std::map<format::Guid, std::uint16_t> sets;
    std::map<std::uint16_t, std::vector<std::byte>> buckets;

    std::uint16_t SetIndex(const format::Guid& guid)
    {
        if (guid == format::Guid{})
            return format::namemap::kGuidIndexNone;
        if (guid == format::propset::kMapi)
            return format::namemap::kGuidIndexMapi;
        if (guid == format::propset::kPublicStrings)
            return format::namemap::kGuidIndexPublicStrings;
        const auto next =
            static_cast<std::uint16_t>(format::namemap::kFirstGuidIndex + guids.size() / format::kGuidSize);
        const auto [place, added] = sets.try_emplace(guid, next);
        if (added) {
            guids.resize(guids.size() + format::kGuidSize);
            format::EncodeGuid(guid, std::span(guids).last(format::kGuidSize));
        }
        return place->second;
    }

    /// Returns the offset of the string.
    std::uint32_t AddString(std::span<const std::byte> text)
    {
        const std::size_t at = strings.size();
        strings.resize(at + (4 + text.size() + 3) / 4 * 4);
        format::StoreLE(strings, at, static_cast<std::uint32_t>(text.size()));
        std::copy(text.begin(), text.end(), strings.begin() + static_cast<std::ptrdiff_t>(at + 4));
        return static_cast<std::uint32_t>(at);
    }

    void Add(const PropertyName& name, std::size_t index)
    {
        format::NameId record{name.lid, !name.text.empty(), SetIndex(name.set),
                              static_cast<std::uint16_t>(index)};
        format::NameId keyed = record;
        if (record.isString) {
            record.number = AddString(EncodeString(name.text));
            keyed.number = format::StringNameKey(name.text);
        }
        AppendRecord(entries, record);
        const auto bucket = static_cast<std::uint16_t>(format::namemap::kFirstBucketId + keyed.Bucket());
        AppendRecord(buckets[bucket], keyed);
    }
};

std::span<const std::byte> StreamOf(const CPropertyBag& properties, std::uint16_t id)
{
    const auto* value = properties.Find(id);
    return value == nullptr ? std::span<const std::byte>() : std::span<const std::byte>(value->bytes);
}

}  // namespace

CNameMap CNameMap::Decode(const CPropertyBag& properties)
{
    CNameMap map;
    const format::CByteView guids(StreamOf(properties, format::namemap::kGuidStreamId));
    const format::CByteView strings(StreamOf(properties, format::namemap::kStringStreamId));
    auto entries = format::DecodeNameIds(StreamOf(properties, format::namemap::kEntryStreamId));
    entries.resize(std::min(entries.size(), kMostNames));
    map.m_names.resize(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        auto name = format::NameOf(entries[i], guids, strings);
        if (!name)
            continue;
        map.m_ids.try_emplace(*name, static_cast<std::uint16_t>(format::namemap::kFirstPropertyId + i));
        map.m_names[i] = std::move(*name);
    }
    return map;
}

CPropertyBag CNameMap::Encode() const
{
    Streams streams;
    for (std::size_t i = 0; i < m_names.size(); ++i)
        streams.Add(m_names[i], i);
    CPropertyBag properties;
    properties.Set(Integer32Value(format::namemap::kBucketCountId, format::namemap::kBucketCount));
    properties.Set(BinaryValue(format::namemap::kGuidStreamId, streams.guids));
    properties.Set(BinaryValue(format::namemap::kEntryStreamId, streams.entries));
    properties.Set(BinaryValue(format::namemap::kStringStreamId, streams.strings));
    for (const auto& [id, records] : streams.buckets)
        properties.Set(BinaryValue(id, records));
    return properties;
}

std::optional<std::uint16_t> CNameMap::Find(const PropertyName& name) const
{
    const auto found = m_ids.find(name);
    return found == m_ids.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::uint16_t> CNameMap::FindOrAdd(const PropertyName& given)
{
    // As it will be read back: the key of a name is that of its stored form.
    const PropertyName name{given.set, given.lid, format::WideText(EncodeString(given.text))};
    if (const auto known = Find(name))
        return known;
    if (m_names.size() >= kMostNames)
        return std::nullopt;
    const auto id = static_cast<std::uint16_t>(format::namemap::kFirstPropertyId + m_names.size());
    m_names.push_back(name);
    m_ids.emplace(name, id);
    return id;
}

}  // namespace pastille::component::pst
