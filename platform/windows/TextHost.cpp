#include "platform/CharacterKinds.h"
#include "platform/Text.h"
#include "platform/windows/Utf8.h"
#include "platform/windows/Win32.h"

namespace pastille::platform {

bool IsTextCharacter(char32_t c)
{
    const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
    const bool isNoncharacter = (c & 0xFFFE) == 0xFFFE || (c >= 0xFDD0 && c <= 0xFDEF);
    if (isControl || isNoncharacter || (c & 0xFFFFF800) == 0xD800)
        return false;
    if (c >= 0x10000) {
        // The host tells the kinds of single units only. Of these planes nearly all is assigned or private.
        const char32_t plane = c >> 16;
        return plane <= 3 || plane == 14 || plane == 15 || plane == 16;
    }
    if (c >= 0xE000 && c <= 0xF8FF)
        return true;
    const wchar_t unit = static_cast<wchar_t>(c);
    WORD kind = 0;
    return ::GetStringTypeW(CT_CTYPE1, &unit, 1, &kind) && kind != 0;
}

std::u16string FromUtf8(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    for (auto bytes = std::as_bytes(std::span(text)); !bytes.empty();) {
        const Sequence first = FirstOfUtf8(bytes);
        AppendUtf16(out, first.kind == Sequence::Kind::Character ? first.character : 0xFFFD);
        bytes = bytes.subspan(first.length);
    }
    return out;
}

std::u16string PathText(const std::filesystem::path& path)
{
    return std::u16string(Utf16(path.native()));
}

std::string PathBytes(const std::filesystem::path& path)
{
    return ToUtf8(Utf16(path.native()));
}

std::filesystem::path PathOfBytes(std::string_view bytes)
{
    return FromUtf8(bytes);
}

std::string DefaultCodePage()
{
    const std::string name = CodePageName(::GetACP());
    return name.empty() ? "windows-1252" : name;
}

}  // namespace pastille::platform
