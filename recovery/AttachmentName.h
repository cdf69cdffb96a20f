#pragma once

#include <string>
#include <string_view>

namespace pastille::recovery {

/// A display name with a blank in place of each character that separates or matches file names on some host:
/// \ / : * ? < > | and the double quote.
std::u16string WithoutSeparators(std::u16string_view displayName);

/// True when a file of that name can be made on every host: not empty, at most 255 UTF-16 units, no control
/// characters, not made of dots and blanks alone, and no name of a device, with or without an extension.
bool IsFileName(std::u16string_view name);

}  // namespace pastille::recovery
