#include "platform/windows/CodePageNames.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

struct Alias {
    std::string_view name;  ///< without separators
    std::uint32_t number;
};

constexpr std::array kAliases{
    Alias{"utf8", kUtf8Page},
    Alias{"ascii", kAsciiPage},
    Alias{"usascii", kAsciiPage},
    Alias{"ansix341968", kAsciiPage},
    Alias{"latin1", 28591},
    Alias{"latin2", 28592},
    Alias{"latin3", 28593},
    Alias{"latin4", 28594},
    Alias{"latin5", 28599},
    Alias{"latin7", 28603},
    Alias{"latin9", 28605},
    Alias{"l1", 28591},
    Alias{"l2", 28592},
    Alias{"l9", 28605},
    Alias{"shiftjis", 932},
    Alias{"sjis", 932},
    Alias{"mskanji", 932},
    Alias{"gbk", 936},
    Alias{"gb2312", 51936},
    Alias{"euccn", 51936},
    Alias{"gb18030", kGb18030Page},
    Alias{"big5", 950},
    Alias{"euckr", 51949},
    Alias{"ksc56011987", 51949},
    Alias{"uhc", 949},
    Alias{"eucjp", kEucJapanesePage},
    Alias{"koi8r", 20866},
    Alias{"koi8u", 21866},
    Alias{"tis620", 874},
    Alias{"macintosh", 10000},
    Alias{"macroman", 10000},
    Alias{"xmacgreek", 10006},
    Alias{"xmaccyrillic", 10007},
    Alias{"xmaccentraleurroman", 10029},
    Alias{"xmacturkish", 10081},
};

/// Behind these comes the number itself.
constexpr std::array<std::string_view, 5> kNumbered{"windows", "cp", "ibm", "ms", "win"};
constexpr std::string_view kIso8859 = "iso8859";
constexpr std::uint32_t kIso8859Base = 28590;

std::string WithoutSeparators(const std::string& name)
{
    std::string plain;
    for (const char c : name)
        if (c != '-' && c != '_' && c != ' ')
            plain.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c);
    return plain;
}

/// 0 when it is no number.
std::uint32_t NumberIn(std::string_view digits)
{
    std::uint32_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc() && stop == end ? number : 0;
}

bool HasTwoBytesAtMost(std::uint32_t number)
{
    CPINFO info{};
    return ::IsValidCodePage(number) && ::GetCPInfo(number, &info) && info.MaxCharSize <= 2;
}

}  // namespace

std::uint32_t NumberOfName(const std::string& name)
{
    const std::string plain = WithoutSeparators(name);
    if (const auto* const alias = std::ranges::find(kAliases, plain, &Alias::name); alias != kAliases.end())
        return alias->number;
    if (plain.starts_with(kIso8859)) {
        const std::uint32_t part = NumberIn(std::string_view(plain).substr(kIso8859.size()));
        return part >= 1 && part <= 16 ? kIso8859Base + part : 0;
    }
    for (const std::string_view prefix : kNumbered)
        if (plain.starts_with(prefix))
            return NumberIn(std::string_view(plain).substr(prefix.size()));
    return 0;
}

std::uint32_t HostPage(std::uint32_t number)
{
    struct Substitute {
        std::uint32_t number, host;
    };
    // Pages that the host has by another number, or as the larger set around them.
    constexpr std::array kSubstitutes{
        Substitute{kEucJapanesePage, 20932},
        Substitute{51949, 949},
        Substitute{51936, 936},
        Substitute{20936, 936},
        Substitute{28601, 874},
        Substitute{38598, 28598},
        Substitute{kGb18030Page, 936},
    };
    const auto* const found = std::ranges::find(kSubstitutes, number, &Substitute::number);
    const std::uint32_t host = found == kSubstitutes.end() ? number : found->host;
    // The numbers below 37 stand for pages of this user, those from 57002 for pages with shift states.
    return host >= 37 && host != 42 && host < 57002 && HasTwoBytesAtMost(host) ? host : 0;
}

}  // namespace pastille::platform
