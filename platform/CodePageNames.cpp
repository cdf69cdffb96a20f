#include "platform/CodePageNames.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "platform/CodePageNumbers.h"

namespace pastille::platform {
namespace {

struct Alias {
    std::string_view name;  ///< without separators
    std::uint32_t number;
};

// The registered names of https://www.iana.org/assignments/character-sets and the labels of
// https://encoding.spec.whatwg.org/#names-and-labels, but for those that are a number behind a prefix.
// clang-format off
constexpr std::array kAliases{
    Alias{"utf8", kUtf8Page}, Alias{"csutf8", kUtf8Page}, Alias{"unicode11utf8", kUtf8Page},
    Alias{"unicode20utf8", kUtf8Page}, Alias{"xunicode20utf8", kUtf8Page},
    Alias{"ascii", kAsciiPage}, Alias{"usascii", kAsciiPage}, Alias{"csascii", kAsciiPage},
    Alias{"ansix341968", kAsciiPage}, Alias{"ansix341986", kAsciiPage}, Alias{"iso646us", kAsciiPage},
    Alias{"iso646irv1991", kAsciiPage}, Alias{"isoir6", kAsciiPage}, Alias{"us", kAsciiPage},
    Alias{"latin1", 28591}, Alias{"l1", 28591}, Alias{"isoir100", 28591}, Alias{"csisolatin1", 28591},
    Alias{"iso885911987", 28591},
    Alias{"latin2", 28592}, Alias{"l2", 28592}, Alias{"isoir101", 28592}, Alias{"csisolatin2", 28592},
    Alias{"iso885921987", 28592},
    Alias{"latin3", 28593}, Alias{"l3", 28593}, Alias{"isoir109", 28593}, Alias{"csisolatin3", 28593},
    Alias{"iso885931988", 28593},
    Alias{"latin4", 28594}, Alias{"l4", 28594}, Alias{"isoir110", 28594}, Alias{"csisolatin4", 28594},
    Alias{"iso885941988", 28594},
    Alias{"cyrillic", 28595}, Alias{"isoir144", 28595}, Alias{"csisolatincyrillic", 28595},
    Alias{"iso885951988", 28595},
    Alias{"arabic", 28596}, Alias{"isoir127", 28596}, Alias{"csisolatinarabic", 28596},
    Alias{"iso885961987", 28596}, Alias{"ecma114", 28596}, Alias{"asmo708", 28596},
    Alias{"greek", 28597}, Alias{"greek8", 28597}, Alias{"isoir126", 28597}, Alias{"csisolatingreek", 28597},
    Alias{"iso885971987", 28597}, Alias{"ecma118", 28597}, Alias{"elot928", 28597},
    Alias{"hebrew", 28598}, Alias{"isoir138", 28598}, Alias{"csisolatinhebrew", 28598},
    Alias{"iso885981988", 28598}, Alias{"iso88598i", 38598}, Alias{"csiso88598i", 38598},
    Alias{"latin5", 28599}, Alias{"l5", 28599}, Alias{"isoir148", 28599}, Alias{"csisolatin5", 28599},
    Alias{"iso885991989", 28599},
    Alias{"latin6", 28600}, Alias{"l6", 28600}, Alias{"isoir157", 28600}, Alias{"csisolatin6", 28600},
    Alias{"latin7", 28603}, Alias{"latin8", 28604}, Alias{"l8", 28604}, Alias{"isoir199", 28604},
    Alias{"isoceltic", 28604}, Alias{"latin9", 28605}, Alias{"l9", 28605}, Alias{"csisolatin9", 28605},
    Alias{"tis620", 874}, Alias{"cstis620", 874}, Alias{"dos874", 874},
    Alias{"shiftjis", 932}, Alias{"sjis", 932}, Alias{"xsjis", 932}, Alias{"mskanji", 932},
    Alias{"csshiftjis", 932}, Alias{"windows31j", 932}, Alias{"cswindows31j", 932},
    Alias{"gbk", 936}, Alias{"xgbk", 936}, Alias{"csgbk", 936},
    Alias{"gb2312", 51936}, Alias{"csgb2312", 51936}, Alias{"gb231280", 51936}, Alias{"chinese", 51936},
    Alias{"isoir58", 51936}, Alias{"csiso58gb231280", 51936}, Alias{"euccn", 51936},
    Alias{"gb18030", 54936}, Alias{"csgb18030", 54936},
    Alias{"big5", 950}, Alias{"csbig5", 950}, Alias{"cnbig5", 950}, Alias{"xxbig5", 950},
    Alias{"uhc", 949}, Alias{"ksc5601", 949}, Alias{"ksc56011987", 949}, Alias{"ksc56011989", 949},
    Alias{"csksc56011987", 949}, Alias{"isoir149", 949}, Alias{"korean", 949},
    Alias{"euckr", 51949}, Alias{"cseuckr", 51949},
    Alias{"eucjp", 51932}, Alias{"xeucjp", 51932}, Alias{"cseucpkdfmtjapanese", 51932},
    Alias{"koi8r", 20866}, Alias{"koi8", 20866}, Alias{"koi", 20866}, Alias{"cskoi8r", 20866},
    Alias{"koi8u", 21866}, Alias{"koi8ru", 21866}, Alias{"cskoi8u", 21866},
    Alias{"cspc8codepage437", 437}, Alias{"cspc850multilingual", 850}, Alias{"cspcp852", 852},
    Alias{"pcmultilingual850+euro", 858}, Alias{"cspc862latinhebrew", 862},
    Alias{"macintosh", 10000}, Alias{"csmacintosh", 10000}, Alias{"mac", 10000}, Alias{"macroman", 10000},
    Alias{"xmacroman", 10000}, Alias{"xmacgreek", 10006}, Alias{"xmaccyrillic", 10007},
    Alias{"xmacukrainian", 10007}, Alias{"xmaccentraleurroman", 10029}, Alias{"xmacturkish", 10081},
};
// clang-format on

/// Behind these comes the number itself; the empty one is the last.
constexpr std::array<std::string_view, 9> kPrefixes{"windows", "cswindows", "win", "cp", "xcp",
                                                    "ibm",     "csibm",     "ms",  ""};

constexpr std::string_view kIso8859 = "iso8859";
constexpr std::uint32_t kIso8859Base = 28590;

std::string WithoutSeparators(const std::string& name)
{
    constexpr std::string_view kSeparators = "-_ :.";
    std::string plain;
    for (const char c : name)
        if (kSeparators.find(c) == std::string_view::npos)
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

std::uint32_t StatedNumber(std::string_view plain)
{
    if (const auto* const alias = std::ranges::find(kAliases, plain, &Alias::name); alias != kAliases.end())
        return alias->number;
    if (plain.starts_with(kIso8859)) {
        const std::uint32_t part = NumberIn(plain.substr(kIso8859.size()));
        return part >= 1 && part <= 16 ? kIso8859Base + part : 0;
    }
    for (const std::string_view prefix : kPrefixes)
        if (plain.starts_with(prefix))
            if (const std::uint32_t number = NumberIn(plain.substr(prefix.size())); number != 0)
                return number;
    return 0;
}

}  // namespace

std::uint32_t NumberOfName(const std::string& name)
{
    // Two pages have these numbers of another maker's as well.
    constexpr std::uint32_t kOtherAscii = 367, kOtherLatin1 = 819;
    const std::uint32_t stated = StatedNumber(WithoutSeparators(name));
    const std::uint32_t number = stated == kOtherAscii    ? kAsciiPage
                                 : stated == kOtherLatin1 ? kIso8859Base + 1
                                                          : stated;
    const auto* const page = std::ranges::find(kPages, number, &NumberedPage::number);
    if (page == kPages.end())
        return 0;
    return page->name == std::string_view("US-ASCII") ? kAsciiPage : number;
}

}  // namespace pastille::platform
