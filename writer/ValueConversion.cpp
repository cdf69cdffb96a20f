#include "writer/ValueConversion.h"

#include "format/PropertyTag.h"
#include "format/WideText.h"
#include "writer/OleDate.h"

namespace pastille::writer {
namespace {

using format::CByteView;

constexpr std::uint16_t kFirstNamedId = 0x8000;
constexpr std::uint16_t kLastNamedId = 0x8FFF;

/// The values of a count, as many offsets into the allocation, and the values' bytes. [MS-PST] 2.3.3.4.2
template <class Convert>
std::u16string JoinedTexts(CByteView bytes, const Convert& convert)
{
    constexpr std::uint64_t kWord = 4;
    const std::uint64_t count = bytes.ReadOrZero<std::uint32_t>(0);
    if (!bytes.Holds(kWord, count * kWord))
        return {};
    std::u16string joined;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t start = bytes.ReadOrZero<std::uint32_t>(kWord * (1 + i));
        const std::uint64_t end =
            i + 1 < count ? bytes.ReadOrZero<std::uint32_t>(kWord * (2 + i)) : bytes.Size();
        if (i != 0)
            joined += kValueSeparator;
        // Values stand one after the other; offsets that overlap would let a small allocation grow without
        // end.
        if (start <= end && joined.size() <= bytes.Size())
            joined += convert(bytes.Sub(start, end - start).value_or(CByteView()));
    }
    return joined;
}

}  // namespace

std::u16string TextOf(const IPropertySource& source, const SourceProperty& property)
{
    const auto value = source.Value(property.value);
    if (!value)
        return {};
    const auto narrowText = [&source](CByteView bytes) { return source.CodePage().ToUtf16(bytes.Bytes()); };
    switch (static_cast<format::PropertyType>(property.type)) {
        case format::PropertyType::String:
            return format::WideText(value->Bytes());
        case format::PropertyType::String8:
            return narrowText(*value);
        case format::PropertyType::MultipleString:
            return JoinedTexts(*value, [](CByteView bytes) { return format::WideText(bytes.Bytes()); });
        case format::PropertyType::MultipleString8:
            return JoinedTexts(*value, narrowText);
        default:
            return {};
    }
}

double DateOf(const IPropertySource& source, const SourceProperty& property)
{
    if (property.type != static_cast<std::uint16_t>(format::PropertyType::Time))
        return 0.0;
    const auto value = source.Allocation(property.value);
    if (!value || value->Size() != sizeof(std::uint64_t))
        return OleDateFromFileTime(0);
    return OleDateFromFileTime(value->ReadOrZero<std::uint64_t>(0));
}

std::uint32_t TranslateId(const format::CNamedPropertyMap& names, std::uint16_t id)
{
    if (id < kFirstNamedId || id > kLastNamedId)
        return id;
    return names.FindLid(id).value_or(id);
}

std::u16string SubjectText(std::u16string stored)
{
    constexpr char16_t kPrefixMark = 1;
    if (!stored.empty() && stored.front() == kPrefixMark)
        stored.erase(0, 2);
    return stored;
}

}  // namespace pastille::writer
