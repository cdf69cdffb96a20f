#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pastille::component::pst {

/// A value of several strings: count, offsets, strings; made of a text split at ";". [MS-PST] 2.3.3.4.2
std::vector<std::byte> EncodeStringList(std::u16string_view text);
/// The strings joined with ";". Empty when the offsets leave the value or fall.
std::u16string DecodeStringList(std::span<const std::byte> bytes);

/// Bytes of a text that stands for bytes, one character each; characters above U+00FF become "?".
std::vector<std::byte> NarrowText(std::u16string_view text);
std::u16string WidenBytes(std::span<const std::byte> bytes);

/// A folder name as the store keeps it: without control characters and at most 255 UTF-16 units, surrogate
/// pairs whole. Two names that are the same in this form name the same folder.
std::u16string StoredFolderName(std::u16string_view name);
bool IsControl(char16_t unit);
inline constexpr std::size_t kLongestFolderName = 255;

/// Cuts a text to a number of UTF-16 units without cutting a surrogate pair.
std::u16string_view CutText(std::u16string_view text, std::size_t units);

}  // namespace pastille::component::pst
