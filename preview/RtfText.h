#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace pastille::preview {

/// The text of an RTF document as RTF readers show it, lines ended by '\n'. `rtf` has a unit for each byte.
/// At most `mostUnits` (and a little more) are made of it. Pictures, tables of fonts and the like are left
/// out, as are the tags in a document that was made from HTML ([MS-OXRTFEX] 2.1). Nesting of any depth and
/// braces without partners do no harm. Takes time in proportion to its length.
std::u16string RtfToText(std::u16string_view rtf, std::size_t mostUnits);

}  // namespace pastille::preview
