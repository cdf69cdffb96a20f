#include "recovery/complete/FoundText.h"

#include "format/WideText.h"

namespace pastille::recovery::complete {
namespace {

using format::PropertyType;

std::u16string Decode(PropertyType type, std::span<const std::byte> bytes, const CItemText& text)
{
    std::u16string decoded;
    if (type == PropertyType::String)
        decoded = format::WideText(bytes);
    else if (type == PropertyType::String8)
        decoded = text.Decode(bytes);
    return decoded.substr(0, decoded.find(u'\0'));
}

}  // namespace

std::u16string TextOf(store::complete::CFoundObject& object, std::uint16_t id, const CItemText& text)
{
    constexpr std::size_t kMostBytes = 4096;
    const auto* const record = object.Find(id);
    return record == nullptr ? std::u16string()
                             : Decode(record->tag.type, object.Bytes(id, kMostBytes), text);
}

std::u16string TextOf(store::complete::CFoundTable& table, const store::complete::FoundRow& row,
                      std::uint16_t id, const CItemText& text)
{
    const format::TableColumn* const column = table.Info().FindId(id);
    if (column == nullptr)
        return {};
    const auto value = table.Cell(row, *column);
    return Decode(column->tag.type, value.bytes, text);
}

std::u16string WithoutPrefixMark(std::u16string subject)
{
    constexpr std::size_t kMark = 2;
    if (!subject.empty() && subject.front() == u'\x01')
        subject.erase(0, kMark);
    return subject;
}

}  // namespace pastille::recovery::complete
