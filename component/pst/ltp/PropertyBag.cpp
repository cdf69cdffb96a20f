#include "component/pst/ltp/PropertyBag.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <utility>

#include "component/pst/ltp/StringEncoding.h"
#include "format/NameId.h"
#include "format/PropertyContext.h"
#include "format/WideText.h"

namespace pastille::component::pst {
namespace {

using format::PropertyType;

template <std::unsigned_integral T>
PropertyValue NumberValue(std::uint16_t id, PropertyType type, T number)
{
    PropertyValue value{{id, type}, std::vector<std::byte>(sizeof(T)), {}};
    format::StoreLE<T>(value.bytes, 0, number);
    return value;
}

template <std::unsigned_integral T>
std::optional<T> LoadNumber(const PropertyValue& value)
{
    if (value.tree || value.bytes.size() != sizeof(T))
        return std::nullopt;
    return format::LoadLE<T>(value.bytes, 0);
}

}  // namespace

PropertyValue BooleanValue(std::uint16_t id, bool value)
{
    return NumberValue<std::uint8_t>(id, PropertyType::Boolean, value ? 1 : 0);
}
PropertyValue Integer16Value(std::uint16_t id, std::uint16_t value)
{
    return NumberValue(id, PropertyType::Integer16, value);
}
PropertyValue Integer32Value(std::uint16_t id, std::uint32_t value)
{
    return NumberValue(id, PropertyType::Integer32, value);
}
PropertyValue Integer64Value(std::uint16_t id, std::uint64_t value)
{
    return NumberValue(id, PropertyType::Integer64, value);
}
PropertyValue Floating64Value(std::uint16_t id, double value)
{
    return NumberValue(id, PropertyType::Floating64, std::bit_cast<std::uint64_t>(value));
}
PropertyValue TimeValue(std::uint16_t id, std::uint64_t fileTime)
{
    return NumberValue(id, PropertyType::Time, fileTime);
}
PropertyValue StringValue(std::uint16_t id, std::u16string_view text)
{
    return {{id, PropertyType::String}, EncodeString(text), {}};
}
PropertyValue BinaryValue(std::uint16_t id, std::span<const std::byte> bytes)
{
    return {{id, PropertyType::Binary}, {bytes.begin(), bytes.end()}, {}};
}

PropertyValue GuidValue(std::uint16_t id, const format::Guid& guid)
{
    PropertyValue value{{id, PropertyType::Guid}, std::vector<std::byte>(format::kGuidSize), {}};
    format::EncodeGuid(guid, value.bytes);
    return value;
}

PropertyValue MultipleStringValue(std::uint16_t id, const std::vector<std::u16string>& texts)
{
    std::vector<std::vector<std::byte>> elements;
    for (const std::u16string& text : texts)
        elements.push_back(EncodeString(text));
    return {{id, PropertyType::MultipleString}, format::JoinMultiple(elements), {}};
}

PropertyValue MultipleInteger32Value(std::uint16_t id, std::span<const std::uint32_t> numbers)
{
    PropertyValue value{
        {id, PropertyType::MultipleInteger32}, std::vector<std::byte>(4 * numbers.size()), {}};
    for (std::size_t i = 0; i < numbers.size(); ++i)
        format::StoreLE<std::uint32_t>(value.bytes, 4 * i, numbers[i]);
    return value;
}

PropertyValue ObjectValue(std::uint16_t id, format::Nid subnode, std::uint32_t size)
{
    PropertyValue value{{id, PropertyType::Object}, std::vector<std::byte>(8), {}};
    format::StoreLE<std::uint32_t>(value.bytes, 0, subnode.value);
    format::StoreLE<std::uint32_t>(value.bytes, 4, size);
    return value;
}

PropertyValue TreeValue(format::PropertyTag tag, const StoredTree& tree)
{
    return {tag, {}, tree};
}

std::optional<bool> AsBoolean(const PropertyValue& value)
{
    const auto number = LoadNumber<std::uint8_t>(value);
    if (value.tag.type != PropertyType::Boolean || !number)
        return std::nullopt;
    return *number != 0;
}

std::optional<std::uint32_t> AsInteger32(const PropertyValue& value)
{
    if (value.tag.type == PropertyType::Integer16) {
        const auto number = LoadNumber<std::uint16_t>(value);
        return number ? std::optional<std::uint32_t>(*number) : std::nullopt;
    }
    if (value.tag.type != PropertyType::Integer32 && value.tag.type != PropertyType::ErrorCode)
        return std::nullopt;
    return LoadNumber<std::uint32_t>(value);
}

std::optional<std::uint64_t> AsInteger64(const PropertyValue& value)
{
    const PropertyType type = value.tag.type;
    if (type != PropertyType::Integer64 && type != PropertyType::Time && type != PropertyType::Currency)
        return std::nullopt;
    return LoadNumber<std::uint64_t>(value);
}

std::optional<double> AsFloating64(const PropertyValue& value)
{
    const auto number = LoadNumber<std::uint64_t>(value);
    if ((value.tag.type != PropertyType::Floating64 && value.tag.type != PropertyType::FloatingTime) ||
        !number)
        return std::nullopt;
    return std::bit_cast<double>(*number);
}

std::optional<std::u16string> AsString(const PropertyValue& value)
{
    if (value.tag.type != PropertyType::String || value.tree)
        return std::nullopt;
    return format::WideText(value.bytes);
}

std::optional<std::vector<std::u16string>> AsMultipleString(const PropertyValue& value)
{
    if (value.tag.type != PropertyType::MultipleString || value.tree)
        return std::nullopt;
    const auto elements = format::SplitMultiple(format::CByteView(value.bytes));
    if (!elements)
        return std::nullopt;
    std::vector<std::u16string> texts;
    for (const format::CByteView element : *elements)
        texts.push_back(format::WideText(element.Bytes()));
    return texts;
}

void CPropertyBag::Set(PropertyValue value)
{
    const auto at =
        std::ranges::lower_bound(m_values, value.tag.id, {}, [](const PropertyValue& v) { return v.tag.id; });
    if (at != m_values.end() && at->tag.id == value.tag.id)
        *at = std::move(value);
    else
        m_values.insert(at, std::move(value));
}

bool CPropertyBag::Remove(std::uint16_t id)
{
    return std::erase_if(m_values, [id](const PropertyValue& value) { return value.tag.id == id; }) != 0;
}

const PropertyValue* CPropertyBag::Find(std::uint16_t id) const
{
    const auto at =
        std::ranges::lower_bound(m_values, id, {}, [](const PropertyValue& v) { return v.tag.id; });
    return at != m_values.end() && at->tag.id == id ? &*at : nullptr;
}

}  // namespace pastille::component::pst
