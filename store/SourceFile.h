#pragma once

#include <array>
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
    /// Bytes read ahead, at a multiple of their size.
    struct Window {
        std::uint64_t start = 0;
        std::uint64_t lastUse = 0;
        std::vector<std::byte> bytes;
    };

    bool ReadNear(std::uint64_t offset, std::span<std::byte> into);
    Window* WindowAt(std::uint64_t start, bool fill);
    void NoteUnreadable(std::uint64_t offset, std::uint64_t length);
    std::uint64_t KnownUnreadableEnd(std::uint64_t offset) const;

    std::unique_ptr<platform::IByteSource> m_source;
    std::uint64_t m_size = 0;
    std::array<Window, 8> m_windows;
    std::uint64_t m_uses = 0;
    std::uint64_t m_lastOffset = 0;                       ///< of the last small read
    std::map<std::uint64_t, std::uint64_t> m_unreadable;  ///< start to end, neither touching nor overlapping
};

}  // namespace pastille::store
