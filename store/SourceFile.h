#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <vector>

#include "platform/FileSystem.h"

namespace pastille::store {

/// The damaged source file. Only read; whatever cannot be read counts as zero bytes.
class CSourceFile {
public:
    struct Range {
        std::uint64_t offset;
        std::uint64_t length;
    };

    /// False when the file cannot be opened.
    bool Open(platform::IFileSystem& fileSystem, const std::filesystem::path& path);
    void Close();
    bool IsOpen() const { return m_source != nullptr; }

    std::uint64_t Size() const { return m_size; }

    /// Fills all of `into`: with the bytes at `offset` where they can be read, else with zeros. Sectors that
    /// fail are left out one by one, noted, and not tried again. Returns how many bytes the file has there,
    /// readable or not: fewer than asked for only where the file ends.
    std::size_t Read(std::uint64_t offset, std::span<std::byte> into);

    /// Stretches inside the file that could not be read so far, by offset, joined where they touch.
    std::vector<Range> UnreadableRanges() const;
    /// The unreadable stretches inside the `length` bytes at `offset`.
    std::vector<Range> UnreadableIn(std::uint64_t offset, std::uint64_t length) const;

private:
    void NoteUnreadable(std::uint64_t offset, std::uint64_t length);
    std::uint64_t KnownUnreadableEnd(std::uint64_t offset) const;

    std::unique_ptr<platform::IByteSource> m_source;
    std::uint64_t m_size = 0;
    std::map<std::uint64_t, std::uint64_t> m_unreadable;  ///< start to end, neither touching nor overlapping
};

}  // namespace pastille::store
