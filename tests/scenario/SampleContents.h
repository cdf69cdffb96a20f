#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pastille::tests {

using SampleFile = std::pair<std::string, std::string>;  ///< name and bytes

/// One item of a real store, as another program finds it.
struct SampleItem {
    std::string folder{};                         ///< path below the store's top folder, "/" before each name
    std::string kind{};                           ///< "Message", "Contact", "Appointment", ...
    std::map<std::string, std::string> lines{};   ///< of the form that the program fills for it, by label
    std::map<std::string, std::string> bodies{};  ///< by the extension of the body's file: .txt, .html, .rtf
    std::vector<SampleFile> attachments{};
    std::vector<SampleItem> embedded{};
    /// Bytes by property id, for a named property its long id. Only when they were asked for.
    std::map<std::uint32_t, std::string> values{};

    std::string Line(const std::string& label) const;
};
void PrintTo(const SampleItem& item, std::ostream* out);

/// Reads a store with pffexport; `values` takes far longer. The code page is that of 8-bit texts. Nothing
/// when the program is not installed or fails.
std::optional<std::vector<SampleItem>> ReadWithPffexport(const std::filesystem::path& store, bool values,
                                                         const std::string& codePage = "windows-1252");

}  // namespace pastille::tests
