#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/FoundItems.h"

namespace pastille::tests {

/// Expects no finding of the checker in a store of the component, and of every message the size that it is to
/// have.
void ExpectSoundStore(const std::filesystem::path& path);

/// Everything in the items of a new store, by the component's strict reader: what breaks the format fails the
/// test. Checks on the way that the node database is sound and that every row of a folder's contents table
/// repeats what its item says.
std::vector<FoundItem> ReadNewStore(const std::filesystem::path& path);

}  // namespace pastille::tests
