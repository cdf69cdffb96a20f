#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Bytes.h"
#include "format/Guid.h"

namespace pastille::format {

/// Property ids of the streams in the Name-to-ID map. [MS-PST] 2.4.7
namespace namemap {
inline constexpr std::uint16_t kBucketCountId = 0x0001;
inline constexpr std::uint16_t kGuidStreamId = 0x0002;
inline constexpr std::uint16_t kEntryStreamId = 0x0003;
inline constexpr std::uint16_t kStringStreamId = 0x0004;
inline constexpr std::uint16_t kFirstBucketId = 0x1000;
inline constexpr std::uint32_t kBucketCount = 251;
inline constexpr std::uint16_t kGuidIndexNone = 0;
inline constexpr std::uint16_t kGuidIndexMapi = 1;
inline constexpr std::uint16_t kGuidIndexPublicStrings = 2;
inline constexpr std::uint16_t kFirstGuidIndex = 3;        ///< of the GUID stream
inline constexpr std::uint16_t kFirstPropertyId = 0x8000;  ///< of the entry with index 0
}  // namespace namemap

/// The name of a named property: a long id, or a string, in a property set. [MS-OXCDATA] 2.6.1
struct PropertyName {
    Guid set;
    std::uint32_t lid = 0;  ///< of a numeric name
    std::u16string text;    ///< of a string name; a numeric name has none
    auto operator<=>(const PropertyName&) const = default;
};

/// NAMEID. [MS-PST] 2.4.7.1
struct NameId {
    static constexpr std::size_t kSize = 8;
    std::uint32_t number = 0;     ///< long id, offset into the string stream, or in buckets the string's CRC
    bool isString = false;        ///< N
    std::uint16_t guidIndex = 0;  ///< wGuid
    std::uint16_t index = 0;      ///< wPropIdx: the property id is 0x8000 + index
    friend bool operator==(const NameId&, const NameId&) = default;

    /// The word of wGuid and N that takes part in the bucket's hash.
    constexpr std::uint16_t HashWord() const
    {
        return static_cast<std::uint16_t>((guidIndex << 1) | (isString ? 1 : 0));
    }
    /// Bucket that the entry belongs to; `number` is the long id or the string's CRC.
    constexpr std::uint32_t Bucket() const { return (number ^ HashWord()) % namemap::kBucketCount; }
};

void EncodeNameId(const NameId& entry, std::span<std::byte> into);  ///< REQUIRES: NameId::kSize bytes
/// All whole records of an entry stream or bucket.
std::vector<NameId> DecodeNameIds(CByteView stream);

/// CRC of the UTF-16 bytes of a string name: its key in the buckets.
std::uint32_t StringNameKey(std::u16string_view name);
/// The UTF-16 bytes of the name at `offset` of the string stream; nothing when it does not lie inside.
std::optional<CByteView> StringNameAt(CByteView stringStream, std::uint32_t offset);
/// The name that a record of the entry stream stands for, by the map's GUID and string streams; nothing when
/// they do not have what it refers to.
std::optional<PropertyName> NameOf(const NameId& record, CByteView guidStream, CByteView stringStream);

inline constexpr std::size_t kGuidSize = 16;  ///< bytes in the file
/// REQUIRES: into.size() >= kGuidSize.
void EncodeGuid(const Guid& guid, std::span<std::byte> into);
std::optional<Guid> DecodeGuid(CByteView bytes, std::uint64_t offset);

}  // namespace pastille::format
