#pragma once

#include <cstddef>
#include <string_view>

namespace pastille::component::pst {

/// What the dictionary of compressed RTF holds at the start. [MS-OXRTFCP] 2.1.2.1
inline constexpr std::string_view kRtfDictionary =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript "
    "\\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0\r\n\\par "
    "\\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
static_assert(kRtfDictionary.size() == 207);

/// Bytes of the dictionary, a ring; a reference counts its offsets in it.
inline constexpr std::size_t kRtfRing = 4096;
/// Bytes that a reference stands for.
inline constexpr std::size_t kShortestRtfMatch = 2;
inline constexpr std::size_t kLongestRtfMatch = 17;

}  // namespace pastille::component::pst
