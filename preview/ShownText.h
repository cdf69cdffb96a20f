#pragma once

#include <QString>

#include <cstddef>
#include <string_view>

namespace pastille::preview {

/// A text of a file's as windows show it: controls but line breaks, and characters that turn the direction of
/// writing, become U+FFFD. For eyes only.
QString ShownText(QString text);

/// UTF-16 units that a line shows at most.
inline constexpr std::size_t kLongestLine = 4096;

/// The same on one line, for a cell: line breaks and tabs become blanks. A longer text is cut, with an
/// ellipsis at its end.
QString ShownLine(std::u16string_view text);

}  // namespace pastille::preview
