#include "component/ItemValues.h"

#include <cmath>
#include <limits>
#include <span>

#include "component/pst/ltp/StringEncoding.h"
#include "component/pst/messaging/RtfStream.h"
#include "component/pst/messaging/StoredText.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "writer/OleDate.h"

namespace pastille::component {
namespace {

using format::PropertyTag;
using format::PropertyType;
using pst::PropertyValue;

std::vector<std::byte> StoreBytes(const writer::ItemProperty& property, std::u16string_view text)
{
    if (property.number == format::pid::kHtml) {
        const std::string utf8 = platform::ToUtf8(text);
        const auto bytes = std::as_bytes(std::span(utf8));
        return {bytes.begin(), bytes.end()};
    }
    auto bytes = pst::NarrowText(text);
    if (property.number == format::pid::kRtfCompressed && !pst::IsRtfStream(bytes))
        return pst::StoreRtf(bytes);
    return bytes;
}

std::u16string LoadHtml(std::span<const std::byte> bytes, std::uint32_t codePage)
{
    const std::string name = "windows-" + std::to_string(codePage);
    if (codePage != 0 && codePage != kUtf8CodePage && platform::CCodePage::IsKnown(name))
        return platform::CCodePage(name).ToUtf16(bytes);
    return platform::FromUtf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::u16string LoadBytes(const writer::ItemProperty& property, std::span<const std::byte> bytes,
                         std::uint32_t codePage)
{
    if (property.number == format::pid::kHtml)
        return LoadHtml(bytes, codePage);
    return pst::WidenBytes(property.number == format::pid::kRtfCompressed ? pst::StoredRtf(bytes) : bytes);
}

}  // namespace

std::optional<PropertyValue> StoreText(const writer::ItemProperty& property, std::uint16_t id,
                                       std::u16string_view text)
{
    const PropertyTag tag{id, property.storedType};
    PropertyValue value{tag, {}, std::nullopt};
    if (text.empty())
        return std::nullopt;
    switch (property.storedType) {
        case PropertyType::MultipleString:
            value.bytes = pst::EncodeStringList(text);
            break;
        case PropertyType::Binary:
            value.bytes = StoreBytes(property, text);
            break;
        case PropertyType::String8:
            value.bytes = pst::NarrowText(text);
            break;
        default:
            value = pst::StringValue(id, text);
            break;
    }
    return value.bytes.empty() ? std::nullopt : std::optional(std::move(value));
}

std::u16string LoadText(const writer::ItemProperty& property, const PropertyValue& value,
                        std::uint32_t codePage)
{
    switch (value.tag.type) {
        case PropertyType::String:
            return pst::DecodeString(value.bytes);
        case PropertyType::MultipleString:
            return pst::DecodeStringList(value.bytes);
        case PropertyType::Binary:
        case PropertyType::String8:
            return LoadBytes(property, value.bytes, codePage);
        default:
            return {};
    }
}

std::optional<PropertyValue> StoreDate(std::uint16_t id, double date)
{
    const std::uint64_t fileTime = date == writer::kNoDate ? 0 : writer::FileTimeFromOleDate(date);
    return fileTime == 0 ? std::nullopt : std::optional(pst::TimeValue(id, fileTime));
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
