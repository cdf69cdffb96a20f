#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace pastille::cli {

enum class LineBreaks { Keep, Escape };

/// Text as it may reach a terminal: control characters, characters that reorder text, and bytes that are no
/// UTF-8 become escapes such as \x1B. Names come from damaged and hostile files.
std::string Printable(std::string_view text, LineBreaks lineBreaks);

/// JSON text (UTF-8) in which the characters that Printable escapes are escaped as JSON has it.
std::string PrintableJson(std::string_view json);

/// Hours (of the day), minutes and seconds, two digits each, as 01:02:05.
std::string ElapsedText(std::chrono::steady_clock::duration elapsed);

}  // namespace pastille::cli
