#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"

namespace pastille::recovery {

/// The current moment; tests put a fixed one in its place.
using Clock = std::function<std::chrono::system_clock::time_point()>;

/// The run log: UTF-16, little-endian, with a byte-order mark. Entries go to the file in their order, many at
/// a time, but none waits longer than a second while others follow. A log that cannot be written never
/// disturbs the run: without a file every entry is dropped, and a failing write is forgotten with its
/// entries.
class CRunLog {
public:
    CRunLog() = default;
    ~CRunLog() { Close(); }
    CRunLog(CRunLog&&) = default;
    /// Closes the log that this was before.
    CRunLog& operator=(CRunLog&& other);

    /// Creates or empties the file and writes the byte-order mark. On a failure the log stays closed.
    void Create(platform::IFileSystem& fileSystem, const std::filesystem::path& path);
    /// Opens an existing log to add entries at its end. On a failure the log stays closed.
    void OpenToAppend(platform::IFileSystem& fileSystem, const std::filesystem::path& path);
    void Close();
    bool IsOpen() const { return m_file != nullptr; }

    /// Adds the text as it is: no line break, no terminator.
    void Write(std::u16string_view entry);

    /// Hands what waits to the file.
    void Flush();

private:
    std::unique_ptr<platform::IFile> m_file;
    std::uint64_t m_end = 0;  ///< of what is in the file
    std::string m_waiting;    ///< entries for the file
    std::chrono::steady_clock::time_point m_lastFlush;
};

/// A name from the source as the log shows it, on one line: without control characters and half characters.
std::u16string LogName(std::u16string_view name);
/// A moment in the log's form, local time.
std::u16string LogTime(const Clock& clock);

}  // namespace pastille::recovery
