#include "component/ItemValues.h"

#include <cmath>
#include <limits>
#include <span>

#include "component/pst/ltp/StringEncoding.h"
#include "component/pst/messaging/RtfStream.h"
#include "component/pst/messaging/StoredText.h"
#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "writer/OleDate.h"

namespace pastille::component {
namespace {

using format::PropertyTag;
using format::PropertyType;
using pst::PropertyValue;

/// UTF-16 units that are encoded at a time.
constexpr std::size_t kPieceUnits = 1u << 15;

/// Hands a text over in pieces that cut no surrogate pair.
template <class Encode>
void WritePieces(pst::CLongValueWriter& to, std::u16string_view text, Encode&& encode)
{
    while (!text.empty()) {
        const std::u16string_view piece = pst::CutText(text, kPieceUnits);
        to.Append(encode(piece));
        text.remove_prefix(piece.size());
    }
}

std::string CodePageOrUtf8(std::uint32_t codePage)
{
    const std::string name = platform::CodePageName(codePage);
    return name.empty() ? platform::CodePageName(kUtf8CodePage) : name;
}

void WriteHtml(pst::CLongValueWriter& to, std::u16string_view text, std::uint32_t codePage)
{
    const platform::CCodePage page(CodePageOrUtf8(codePage));
    std::string bytes;
    WritePieces(to, text, [&](std::u16string_view piece) {
        bytes = page.FromUtf16(piece);
        return std::as_bytes(std::span(bytes));
    });
}

void WriteRtf(pst::CLongValueWriter& to, std::u16string_view text)
{
    const auto bytes = pst::NarrowText(text);
    if (pst::IsRtfStream(bytes))
        to.Append(bytes);
    else  // of a damaged stream, what can be had of it
        to.Append(pst::CompressRtf(pst::LooksLikeRtfStream(bytes) ? pst::DecompressRtf(bytes) : bytes));
}

void WriteText(pst::CLongValueWriter& to, const writer::ItemProperty& property, std::u16string_view text,
               std::uint32_t codePage)
{
    if (property.storedType == PropertyType::MultipleString)
        to.Append(pst::EncodeStringList(text));
    else if (property.storedType == PropertyType::Binary && property.number == format::pid::kHtml)
        WriteHtml(to, text, codePage);
    else if (property.storedType == PropertyType::Binary && property.number == format::pid::kRtfCompressed)
        WriteRtf(to, text);
    else if (property.storedType == PropertyType::Binary || property.storedType == PropertyType::String8)
        WritePieces(to, text, pst::NarrowText);
    else
        WritePieces(to, text, pst::EncodeString);
}

/// Before a subject: there is no prefix as "Re: " at its start. [MS-PST] 2.5.3.1.1.1
constexpr std::u16string_view kNoPrefixMark = u"\u0001\u0001";
constexpr char16_t kPrefixMark = 1;

bool IsSubject(const writer::ItemProperty& property)
{
    return property.storage == writer::PropertyStorage::Tag && property.number == format::pid::kSubject;
}

/// Most subjects stand without a mark. Readers take one that begins beyond ASCII, or with the mark's own
/// first character, for a marked one.
bool NeedsPrefixMark(std::u16string_view subject)
{
    constexpr char16_t kLastAscii = 0x7F;
    return subject.front() == kPrefixMark || subject.front() > kLastAscii;
}

std::u16string WithoutPrefixMark(std::u16string subject)
{
    if (!subject.empty() && subject.front() == kPrefixMark)
        subject.erase(0, kNoPrefixMark.size());
    return subject;
}

std::u16string LoadBytes(const writer::ItemProperty& property, std::span<const std::byte> bytes,
                         std::uint32_t codePage)
{
    if (property.number == format::pid::kHtml)
        return platform::CCodePage(CodePageOrUtf8(codePage)).ToUtf16(bytes);
    if (property.number == format::pid::kRtfCompressed)
        return pst::WidenBytes(pst::DecompressRtf(bytes));
    return pst::WidenBytes(bytes);
}

}  // namespace

std::optional<PropertyValue> StoreText(pst::CPstStore& store, const writer::ItemProperty& property,
                                       std::uint16_t id, std::u16string_view text, std::uint32_t codePage)
{
    if (text.empty())
        return std::nullopt;
    auto value = store.NewValue();
    if (IsSubject(property) && NeedsPrefixMark(text))
        value.Append(pst::EncodeString(kNoPrefixMark));
    WriteText(value, property, text, codePage);
    if (value.Size() == 0)
        return std::nullopt;
    const bool isUtf16 = property.storedType != PropertyType::MultipleString &&
                         property.storedType != PropertyType::Binary &&
                         property.storedType != PropertyType::String8;
    return value.Finish({id, isUtf16 ? PropertyType::String : property.storedType});
}

std::u16string LoadText(pst::CStringReader& strings, const writer::ItemProperty& property,
                        const PropertyValue& value, const ItemCodePages& codePages)
{
    if (value.tag.type == PropertyType::Binary)
        return LoadBytes(property, value.bytes, codePages.html);
    // HTML is text of 8 bits whatever its type says.
    if (value.tag.type == PropertyType::String8 && property.number == format::pid::kHtml)
        return LoadBytes(property, value.bytes, codePages.html);
    std::u16string text = strings.Read(value, codePages.text).value_or(std::u16string());
    return IsSubject(property) ? WithoutPrefixMark(std::move(text)) : text;
}

std::optional<PropertyValue> StoreDate(std::uint16_t id, double date)
{
    const std::uint64_t fileTime = writer::FileTimeFromOleDate(date);
    // 0 is the first moment that can be stored, and also stands for what cannot be.
    const bool isStorable = fileTime != 0 || date == writer::OleDateFromFileTime(0);
    return date == writer::kNoDate || !isStorable ? std::nullopt
                                                  : std::optional(pst::TimeValue(id, fileTime));
}

double LoadDate(const PropertyValue& value)
{
    const auto fileTime = value.tag.type == PropertyType::Time ? pst::AsInteger64(value) : std::nullopt;
    return fileTime ? writer::OleDateFromFileTime(*fileTime) : writer::kNoDate;
}

PropertyValue StoreNumber(const writer::ItemProperty& property, std::uint16_t id, std::int32_t number)
{
    switch (property.storedType) {
        case PropertyType::Boolean:
            return pst::BooleanValue(id, number != 0);
        case PropertyType::Integer16:
            return pst::Integer16Value(id, static_cast<std::uint16_t>(number));
        case PropertyType::Integer64:
            return pst::Integer64Value(id, static_cast<std::uint64_t>(std::int64_t{number}));
        case PropertyType::Floating64:
            return pst::Floating64Value(id, number);
        default:
            return pst::Integer32Value(id, static_cast<std::uint32_t>(number));
    }
}

std::int32_t LoadNumber(const PropertyValue& value)
{
    if (const auto flag = pst::AsBoolean(value))
        return *flag ? 1 : 0;
    if (value.tag.type == PropertyType::Integer16)
        return static_cast<std::int16_t>(pst::AsInteger32(value).value_or(0));
    if (const auto number = pst::AsInteger32(value))
        return static_cast<std::int32_t>(*number);
    if (const auto number = pst::AsFloating64(value))
        return std::fabs(*number) <= std::numeric_limits<std::int32_t>::max()
                   ? static_cast<std::int32_t>(*number)
                   : 0;
    return static_cast<std::int32_t>(pst::AsInteger64(value).value_or(0));
}

}  // namespace pastille::component
