#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include "platform/CharacterKinds.h"
#include "platform/Text.h"

namespace pastille::platform {

bool IsTextCharacter(char32_t c)
{
    const auto type = u_charType(static_cast<UChar32>(c));
    return type != U_UNASSIGNED && type != U_CONTROL_CHAR && type != U_SURROGATE;
}

std::u16string FromUtf8(std::string_view text)
{
    std::u16string out(text.size(), u'\0');  // UTF-16 never has more units than UTF-8 has bytes
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &error);
    out.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return out;
}

std::u16string PathText(const std::filesystem::path& path)
{
    return FromUtf8(path.native());
}

std::string PathBytes(const std::filesystem::path& path)
{
    return path.native();
}

std::filesystem::path PathOfBytes(std::string_view bytes)
{
    return bytes;
}

std::string DefaultCodePage()
{
    return "windows-1252";
}

}  // namespace pastille::platform
