#include "component/pst/messaging/StoredText.h"

#include <algorithm>
#include <cstdint>

#include "component/pst/ltp/StringEncoding.h"
#include "format/PropertyContext.h"
#include "format/WideText.h"

namespace pastille::component::pst {
namespace {

constexpr char16_t kListSeparator = u';';

}  // namespace

std::vector<std::byte> EncodeStringList(std::u16string_view text)
{
    std::vector<std::vector<std::byte>> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const auto end = std::min(text.find(kListSeparator, start), text.size());
        parts.push_back(EncodeString(text.substr(start, end - start)));
        start = end + 1;
    }
    return format::JoinMultiple(parts);
}

std::u16string DecodeStringList(std::span<const std::byte> bytes)
{
    const auto parts = format::SplitMultiple(bytes);
    if (!parts)
        return {};
    std::u16string text;
    for (std::size_t i = 0; i < parts->size(); ++i) {
        if (i != 0)
            text.push_back(kListSeparator);
        text += format::WideText((*parts)[i].Bytes());
    }
    return text;
}

std::vector<std::byte> NarrowText(std::u16string_view text)
{
    std::vector<std::byte> bytes;
    bytes.reserve(text.size());
    for (const char16_t unit : text)
        bytes.push_back(static_cast<std::byte>(unit <= 0xFF ? unit : u'?'));
    return bytes;
}

std::u16string WidenBytes(std::span<const std::byte> bytes)
{
    std::u16string text;
    text.reserve(bytes.size());
    for (const std::byte byte : bytes)
        text.push_back(static_cast<char16_t>(byte));
    return text;
}

bool IsControl(char16_t unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit <= 0x9F);
}

std::u16string_view CutText(std::u16string_view text, std::size_t units)
{
    if (text.size() <= units)
        return text;
    return text.substr(0, units > 0 && IsHighSurrogate(text[units - 1]) ? units - 1 : units);
}

std::u16string StoredFolderName(std::u16string_view name)
{
    std::u16string stored;
    for (const char16_t unit : StorableText(name)) {
        if (stored.size() > kLongestFolderName)
            break;
        if (!IsControl(unit))
            stored.push_back(unit);
    }
    return std::u16string(CutText(stored, kLongestFolderName));
}

}  // namespace pastille::component::pst
