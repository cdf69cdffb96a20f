#pragma once

#include <array>
#include <cstdint>

namespace pastille::platform {

struct NumberedPage {
    std::uint32_t number;
    const char* name;
};

/// Pages that come first are the ones that their names stand for.
inline constexpr std::array kPages{
    NumberedPage{1252, "windows-1252"},
    NumberedPage{65001, "UTF-8"},
    NumberedPage{20127, "US-ASCII"},
    NumberedPage{874, "windows-874"},
    NumberedPage{932, "windows-932"},
    NumberedPage{936, "windows-936"},
    NumberedPage{949, "windows-949"},
    NumberedPage{950, "windows-950"},
    NumberedPage{1250, "windows-1250"},
    NumberedPage{1251, "windows-1251"},
    NumberedPage{1253, "windows-1253"},
    NumberedPage{1254, "windows-1254"},
    NumberedPage{1255, "windows-1255"},
    NumberedPage{1256, "windows-1256"},
    NumberedPage{1257, "windows-1257"},
    NumberedPage{1258, "windows-1258"},
    NumberedPage{28591, "ISO-8859-1"},
    NumberedPage{28592, "ISO-8859-2"},
    NumberedPage{28593, "ISO-8859-3"},
    NumberedPage{28594, "ISO-8859-4"},
    NumberedPage{28595, "ISO-8859-5"},
    NumberedPage{28596, "ISO-8859-6"},
    NumberedPage{28597, "ISO-8859-7"},
    NumberedPage{28598, "ISO-8859-8"},
    NumberedPage{28599, "ISO-8859-9"},
    NumberedPage{28600, "ISO-8859-10"},
    NumberedPage{28601, "ISO-8859-11"},
    NumberedPage{28603, "ISO-8859-13"},
    NumberedPage{28604, "ISO-8859-14"},
    NumberedPage{28605, "ISO-8859-15"},
    NumberedPage{38598, "ISO-8859-8"},
    NumberedPage{20866, "KOI8-R"},
    NumberedPage{21866, "KOI8-U"},
    NumberedPage{51932, "EUC-JP"},
    NumberedPage{51949, "EUC-KR"},
    NumberedPage{51936, "GB2312"},
    NumberedPage{20936, "GB2312"},
    NumberedPage{54936, "gb18030"},
    NumberedPage{437, "ibm-437"},
    NumberedPage{850, "ibm-850"},
    NumberedPage{852, "ibm-852"},
    NumberedPage{855, "ibm-855"},
    NumberedPage{857, "ibm-857"},
    NumberedPage{858, "ibm-858"},
    NumberedPage{860, "ibm-860"},
    NumberedPage{861, "ibm-861"},
    NumberedPage{862, "ibm-862"},
    NumberedPage{863, "ibm-863"},
    NumberedPage{865, "ibm-865"},
    NumberedPage{866, "ibm-866"},
    NumberedPage{10000, "macintosh"},
    NumberedPage{10006, "x-mac-greek"},
    NumberedPage{10007, "x-mac-cyrillic"},
    NumberedPage{10029, "x-mac-centraleurroman"},
    NumberedPage{10081, "x-mac-turkish"},
    // With shift states: ISO-2022-JP, -KR and -CN, HZ, UTF-7. All of them are made of ASCII bytes.
    NumberedPage{50220, "US-ASCII"},
    NumberedPage{50221, "US-ASCII"},
    NumberedPage{50222, "US-ASCII"},
    NumberedPage{50225, "US-ASCII"},
    NumberedPage{50227, "US-ASCII"},
    NumberedPage{52936, "US-ASCII"},
    NumberedPage{65000, "US-ASCII"},
};

}  // namespace pastille::platform
