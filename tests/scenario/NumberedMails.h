#pragma once

#include <cstdint>
#include <string>

#include "tests/support/StoreBuilder.h"
#include "tests/support/WholeStore.h"

namespace pastille::tests {

// A store of mails that are known by their numbers: some have what the others have not, one has an older
// version, and one was deleted.

inline constexpr std::uint32_t kItems = 16;
inline constexpr std::uint32_t kSuperseded = 3, kLarge = 4, kBodyInSubnode = 5, kLongHeap = 6, kHidden = 12;
inline constexpr std::uint32_t kDeleted = 99;  ///< number of a mail that only an old page has

std::u16string SubjectOf(std::uint32_t number);
/// What the directory of the store calls it.
std::string LabelOf(std::uint32_t number);
/// Path of its folder.
std::string FolderOf(std::uint32_t number);

/// Made once for each variant.
const CBuiltStore& NumberedMails(format::Variant variant);
const WholeStore& ItemsOfNumberedMails(format::Variant variant);

}  // namespace pastille::tests
