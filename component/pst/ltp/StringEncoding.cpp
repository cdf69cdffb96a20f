#include "component/pst/ltp/StringEncoding.h"

#include <cstdint>

#include "format/Bytes.h"
#include "format/WideText.h"

namespace pastille::component::pst {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

}  // namespace

std::u16string StorableText(std::u16string_view text)
{
    std::u16string storable;
    storable.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == 0)
            continue;
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            storable.push_back(text[i]);
            storable.push_back(text[++i]);
        } else {
            const bool isLone = IsHighSurrogate(text[i]) || IsLowSurrogate(text[i]);
            storable.push_back(isLone ? kReplacement : text[i]);
        }
    }
    return storable;
}

std::vector<std::byte> EncodeString(std::u16string_view text)
{
    const std::u16string storable = StorableText(text);
    std::vector<std::byte> bytes(2 * storable.size());
    for (std::size_t i = 0; i < storable.size(); ++i)
        format::StoreLE<std::uint16_t>(bytes, 2 * i, storable[i]);
    return bytes;
}

}  // namespace pastille::component::pst
