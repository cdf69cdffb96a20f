#include "platform/Text.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace pastille::platform {
namespace {

/// Undecodable byte b is carried as this + b, in the private-use area.
constexpr char16_t kCarriedByteBase = 0xF700;

/// To Unicode: carries each byte of a sequence that stands for no character.
void U_CALLCONV CarryBytes(const void*, UConverterToUnicodeArgs* args, const char* bytes, int32_t length,
                           UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    *error = U_ZERO_ERROR;
    for (int32_t i = 0; i < length && U_SUCCESS(*error); ++i) {
        const char16_t carried =
            static_cast<char16_t>(kCarriedByteBase + static_cast<std::uint8_t>(bytes[i]));
        ucnv_cbToUWriteUChars(args, &carried, 1, 0, error);
    }
}

/// From Unicode: gives a carried byte back, and "?" for everything else that the code page lacks.
void U_CALLCONV GiveBytesBack(const void*, UConverterFromUnicodeArgs* args, const UChar*, int32_t,
                              UChar32 codePoint, UConverterCallbackReason reason, UErrorCode* error)
{
    if (reason > UCNV_IRREGULAR)
        return;
    *error = U_ZERO_ERROR;
    char byte = '?';
    if (codePoint >= kCarriedByteBase && codePoint <= kCarriedByteBase + 0xFF)
        byte = static_cast<char>(codePoint - kCarriedByteBase);
    ucnv_cbFromUWriteBytes(args, &byte, 1, 0, error);
}

/// Code points of `text` that no text holds, counted in UTF-16 units.
std::size_t CountImplausible(std::u16string_view text)
{
    std::size_t implausible = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        UChar32 c = text[i];
        std::size_t units = 1;
        if (U16_IS_LEAD(c) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1])) {
            c = U16_GET_SUPPLEMENTARY(c, text[i + 1]);
            units = 2;
        }
        const auto type = u_charType(c);
        if (type == U_UNASSIGNED || type == U_CONTROL_CHAR || type == U_SURROGATE)
            implausible += units;
        i += units - 1;
    }
    return implausible;
}

}  // namespace

bool LooksLikeText(std::u16string_view text)
{
    if (text.empty())
        return false;
    if (CountImplausible(text) * 3 <= text.size())
        return true;
    // In the other byte order nearly anything is some letter: only text of one alphabet is believed there.
    std::u16string swapped(text);
    for (char16_t& c : swapped)
        c = static_cast<char16_t>((c << 8) | (c >> 8));
    const bool oneAlphabet = std::all_of(swapped.begin(), swapped.end(),
                                         [&](char16_t c) { return (c >> 8) == (swapped.front() >> 8); });
    return oneAlphabet && CountImplausible(swapped) == 0;
}

std::string ToUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
        else if (c >= 0xD800 && c <= 0xDFFF)
            c = 0xFFFD;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
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
    return FromUtf8(path.string());
}

bool EqualsNoCase(std::u16string_view left, std::u16string_view right)
{
    const auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
    return left.size() == right.size() &&
           std::equal(left.begin(), left.end(), right.begin(),
                      [&](char16_t a, char16_t b) { return lower(a) == lower(b); });
}

struct CCodePage::Converter {
    UConverter* handle = nullptr;
};

CCodePage::CCodePage(const std::string& name) : m_converter(std::make_unique<Converter>())
{
    UErrorCode error = U_ZERO_ERROR;
    m_converter->handle = name.empty() ? nullptr : ucnv_open(name.c_str(), &error);
    if (U_FAILURE(error) || m_converter->handle == nullptr)
        throw std::invalid_argument("unknown code page: " + name);
    ucnv_setToUCallBack(m_converter->handle, CarryBytes, nullptr, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(m_converter->handle, GiveBytesBack, nullptr, nullptr, nullptr, &error);
}

CCodePage::~CCodePage()
{
    ucnv_close(m_converter->handle);
}

bool CCodePage::IsKnown(const std::string& name)
{
    UErrorCode error = U_ZERO_ERROR;
    UConverter* probe = name.empty() ? nullptr : ucnv_open(name.c_str(), &error);
    const bool known = U_SUCCESS(error) && probe != nullptr;
    ucnv_close(probe);
    return known;
}

std::u16string CCodePage::ToUtf16(std::span<const std::byte> bytes) const
{
    std::u16string out(bytes.size() * 2 + 2, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = ucnv_toUChars(m_converter->handle, out.data(), static_cast<int32_t>(out.size()),
                                         reinterpret_cast<const char*>(bytes.data()),
                                         static_cast<int32_t>(bytes.size()), &error);
    out.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return out;
}

std::string CCodePage::FromUtf16(std::u16string_view text) const
{
    std::string out(text.size() * 4 + 8, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = ucnv_fromUChars(m_converter->handle, out.data(), static_cast<int32_t>(out.size()),
                                           text.data(), static_cast<int32_t>(text.size()), &error);
    out.resize(U_SUCCESS(error) ? static_cast<std::size_t>(length) : 0);
    return out;
}

}  // namespace pastille::platform
