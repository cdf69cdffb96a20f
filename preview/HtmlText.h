#pragma once

#include <string>
#include <string_view>

namespace pastille::preview {

/// The text of an HTML document, lines ended by '\n'. Nothing is loaded, run or shown for it. Takes time in
/// proportion to its length, whatever is in it.
std::u16string HtmlToText(std::u16string_view html);

}  // namespace pastille::preview
