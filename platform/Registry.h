#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/IniFile.h"

namespace pastille::platform {

/// The per-user registry file: a section for each key, named by its root and path with backslashes, as
/// "HKEY_LOCAL_MACHINE\Software\Example", and in it name=value. 32-bit values are written dword:0000002a,
/// texts as they are (UTF-8, one line). A file that cannot be read counts as an empty one.
class CRegistry {
public:
    /// Reads the file. When there is none, or one of no bytes, writes one that lets a normal user start: the
    /// built-in component stands in for the mail client's registration. When that cannot be written either,
    /// the same values hold all the same.
    explicit CRegistry(std::filesystem::path file);
    ~CRegistry();
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;

    /// True when the key is there. Names are compared without regard to the case of A to Z; likewise below.
    bool HasKey(const std::string& key) const;
    /// True when its values can be set as well: the file can be written.
    bool HasWritableKey(const std::string& key) const;
    std::optional<std::string> Text(const std::string& key, const std::string& name) const;
    /// Nothing when it is not there or no 32-bit value.
    std::optional<std::uint32_t> Number(const std::string& key, const std::string& name) const;
    /// Both write the file at once, with what others have written to it meanwhile. False when that fails; the
    /// value holds for this process all the same.
    bool SetText(const std::string& key, const std::string& name, const std::string& value);
    bool SetNumber(const std::string& key, const std::string& name, std::uint32_t value);

private:
    struct Value {
        std::string key, name, text;
    };

    std::filesystem::path m_path;
    std::unique_ptr<CIniFile> m_file;
    std::vector<Value> m_unwritten;  ///< set, but not in the file yet
};

}  // namespace pastille::platform
