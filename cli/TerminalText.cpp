#include "cli/TerminalText.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace pastille::cli {
namespace {

struct Decoded {
    std::uint32_t codePoint;
    std::size_t length;  ///< bytes; 0 when the text does not start with well-formed UTF-8
};

Decoded DecodeFirst(std::string_view text)
{
    const auto byteAt = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byteAt(0);
    if (lead < 0x80)
        return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || length > text.size())
        return {0, 0};
    std::uint32_t codePoint = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80)
            return {0, 0};
        codePoint = (codePoint << 6) | (byteAt(i) & 0x3Fu);
    }
    constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < kSmallest[length] || codePoint > 0x10FFFF || isSurrogate)
        return {0, 0};
    return {codePoint, length};
}

bool IsHarmless(std::uint32_t c)
{
    const bool control = c < 0x20 || (c >= 0x7F && c <= 0x9F);
    const bool lineSeparator = c == 0x2028 || c == 0x2029;
    const bool reorders = c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
                          (c >= 0x2066 && c <= 0x2069);
    return !control && !lineSeparator && !reorders;
}

void AppendEscaped(std::string& out, std::string_view bytes)
{
    for (const char byte : bytes) {
        std::array<char, 5> escape{};
        std::snprintf(escape.data(), escape.size(), "\\x%02X",
                      static_cast<unsigned>(static_cast<std::uint8_t>(byte)));
        out += escape.data();
    }
}

}  // namespace

std::string Printable(std::string_view text, LineBreaks lineBreaks)
{
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const Decoded first = DecodeFirst(text);
        const std::string_view bytes = text.substr(0, first.length == 0 ? 1 : first.length);
        const bool kept =
            bytes == "\n" ? lineBreaks == LineBreaks::Keep : first.length != 0 && IsHarmless(first.codePoint);
        if (kept)
            out += bytes;
        else
            AppendEscaped(out, bytes);
        text.remove_prefix(bytes.size());
    }
    return out;
}

std::string PrintableJson(std::string_view json)
{
    std::string out;
    out.reserve(json.size());
    while (!json.empty()) {
        const Decoded first = DecodeFirst(json);
        const std::size_t length = first.length == 0 ? 1 : first.length;
        if (first.length == 0 || IsHarmless(first.codePoint)) {
            out += json.substr(0, length);
        } else {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\u%04X", static_cast<unsigned>(first.codePoint));
            out += escape.data();
        }
        json.remove_prefix(length);
    }
    return out;
}

std::string ElapsedText(std::chrono::steady_clock::duration elapsed)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%02u:%02u:%02u", static_cast<unsigned>(seconds / 3600 % 24),
                  static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60));
    return text.data();
}

}  // namespace pastille::cli
