#pragma once

#include <filesystem>

namespace pastille::tests {

/// Checks the whole store: every structure, and what its nodes, tables and properties say of one another.
void ExpectSoundStore(const std::filesystem::path& path);

}  // namespace pastille::tests
