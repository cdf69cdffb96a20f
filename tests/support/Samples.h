#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// The folder of real store files: PASTILLE_SAMPLES of the environment, or the one that the build was told.
std::filesystem::path SampleFolder();
/// The store files in it by name; none when it is not there.
std::vector<std::filesystem::path> Samples();
/// Code page of the 8-bit texts in a sample.
std::string CodePageOf(const std::filesystem::path& sample);
/// A copy in memory, to damage. Nothing when there is no such sample.
std::optional<CBuiltStore> SampleCopy(const std::string& name);

}  // namespace pastille::tests
