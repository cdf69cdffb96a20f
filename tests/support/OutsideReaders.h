#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/FoundItems.h"

namespace pastille::tests {

// What other programs find in a store file. Nothing when that program is not installed. Of a sound store a program that
// is there has to make something: std::runtime_error when it fails.

enum class OfStore { Sound, MayBeDamaged };

struct OutsideCount {
    std::size_t messages = 0;  ///< without those inside others
    std::map<std::string, std::size_t> perFolder;
};

/// The mails that readpst finds, by folder name. Items that are no mails are not counted.
std::optional<OutsideCount> CountWithReadpst(const std::filesystem::path& store,
                                             OfStore kind = OfStore::Sound);

struct PffexportOptions {
    bool values = true;                     ///< every value of every item; takes far longer
    std::string codePage = "windows-1252";  ///< of 8-bit texts
    OfStore store = OfStore::Sound;
};

/// Everything that pffexport finds in the items of a store, without the names of property sets; folders are
/// named from below the top folder. Items of the same class and folder come in the order of the folder.
std::optional<std::vector<FoundItem>> ReadItemsWithPffexport(const std::filesystem::path& store,
                                                             const PffexportOptions& options = {});

/// The text from its first ASCII character on: of a subject that begins with others pffexport takes the first
/// two bytes for a mark and drops them.
std::string FromAscii(const std::string& text);

}  // namespace pastille::tests
