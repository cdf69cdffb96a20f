#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace pastille::platform {

/// True when a file may be put, or put anew, at this path: its folder and, where there is one already, the
/// file itself can be written. A file that nobody may write counts as protected even from an administrator.
bool CanBeWritten(const std::filesystem::path& file);

/// A Windows initialisation file: [section] lines, key=value lines, comments after ";". Names are compared
/// without regard to the case of A to Z; of entries with the same name the first one counts; quotation marks
/// around a value are none of it. The file may be UTF-8, UTF-16LE with a byte-order mark or, when its bytes
/// are neither, windows-1252. All strings here are UTF-8.
class CIniFile {
public:
    /// A larger file counts as one that cannot be read.
    static constexpr std::size_t kLargestFile = std::size_t{1} << 20;  // bytes

    /// Reads the file; one that cannot be read is an empty one.
    explicit CIniFile(std::filesystem::path file);
    ~CIniFile();
    CIniFile(const CIniFile&) = delete;
    CIniFile& operator=(const CIniFile&) = delete;

    /// False when the file is missing or cannot be read.
    bool WasRead() const { return m_wasRead; }
    bool HasSection(const std::string& section) const;
    std::optional<std::string> Text(const std::string& section, const std::string& key) const;
    /// The same, cut after `length` UTF-16 units; "" when there is none.
    std::u16string Text(const std::string& section, const std::string& key, std::size_t length) const;

    /// Sets a value in memory. Line breaks in it become blanks.
    void Set(const std::string& section, const std::string& key, std::string_view value);
    /// Makes the file anew, as UTF-8, with the other entries and comments that were in it. Either the old or
    /// the new file is there at any moment. False when it cannot be written.
    bool Write() const;

private:
    struct Entries;
    std::filesystem::path m_file;
    bool m_wasRead = false;
    std::string m_endComments;  ///< lines after the last entry
    std::unique_ptr<Entries> m_entries;
};

}  // namespace pastille::platform
