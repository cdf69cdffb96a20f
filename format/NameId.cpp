#include "format/NameId.h"

#include <array>

#include "format/Checksum.h"
#include "format/WideText.h"

namespace pastille::format {
namespace {

std::optional<Guid> SetOf(std::uint16_t index, CByteView guidStream)
{
    switch (index) {
        case namemap::kGuidIndexNone:
            return Guid{};
        case namemap::kGuidIndexMapi:
            return propset::kMapi;
        case namemap::kGuidIndexPublicStrings:
            return propset::kPublicStrings;
        default:
            return DecodeGuid(guidStream,
                              static_cast<std::uint64_t>(index - namemap::kFirstGuidIndex) * kGuidSize);
    }
}

}  // namespace

void EncodeNameId(const NameId& entry, std::span<std::byte> into)
{
    StoreLE<std::uint32_t>(into, 0, entry.number);
    StoreLE<std::uint16_t>(into, 4, entry.HashWord());
    StoreLE<std::uint16_t>(into, 6, entry.index);
}

std::vector<NameId> DecodeNameIds(CByteView stream)
{
    std::vector<NameId> entries;
    for (std::size_t offset = 0; stream.Holds(offset, NameId::kSize); offset += NameId::kSize) {
        const auto word = stream.ReadOrZero<std::uint16_t>(offset + 4);
        entries.push_back({stream.ReadOrZero<std::uint32_t>(offset), (word & 1) != 0,
                           static_cast<std::uint16_t>(word >> 1),
                           stream.ReadOrZero<std::uint16_t>(offset + 6)});
    }
    return entries;
}

std::uint32_t StringNameKey(std::u16string_view name)
{
    std::vector<std::byte> bytes(2 * name.size());
    for (std::size_t i = 0; i < name.size(); ++i)
        StoreLE<std::uint16_t>(bytes, 2 * i, static_cast<std::uint16_t>(name[i]));
    return ComputeCrc(bytes);
}

std::optional<CByteView> StringNameAt(CByteView stringStream, std::uint32_t offset)
{
    const auto length = stringStream.Read<std::uint32_t>(offset);
    if (!length)
        return std::nullopt;
    return stringStream.Sub(std::uint64_t{offset} + 4, *length);
}

std::optional<PropertyName> NameOf(const NameId& record, CByteView guidStream, CByteView stringStream)
{
    const auto set = SetOf(record.guidIndex, guidStream);
    if (!set)
        return std::nullopt;
    if (!record.isString)
        return PropertyName{*set, record.number, {}};
    const auto text = StringNameAt(stringStream, record.number);
    if (!text || text->Size() < 2)
        return std::nullopt;
    return PropertyName{*set, 0, WideText(text->Bytes())};
}

void EncodeGuid(const Guid& guid, std::span<std::byte> into)
{
    StoreLE<std::uint32_t>(into, 0, guid.data1);
    StoreLE<std::uint16_t>(into, 4, guid.data2);
    StoreLE<std::uint16_t>(into, 6, guid.data3);
    for (std::size_t i = 0; i < guid.data4.size(); ++i)
        into[8 + i] = static_cast<std::byte>(guid.data4[i]);
}

std::optional<Guid> DecodeGuid(CByteView bytes, std::uint64_t offset)
{
    const auto view = bytes.Sub(offset, kGuidSize);
    if (!view)
        return std::nullopt;
    Guid guid{view->ReadOrZero<std::uint32_t>(0),
              view->ReadOrZero<std::uint16_t>(4),
              view->ReadOrZero<std::uint16_t>(6),
              {}};
    for (std::size_t i = 0; i < guid.data4.size(); ++i)
        guid.data4[i] = view->ReadOrZero<std::uint8_t>(8 + i);
    return guid;
}

}  // namespace pastille::format
