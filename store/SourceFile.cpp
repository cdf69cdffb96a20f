#include "store/SourceFile.h"

#include <algorithm>

namespace pastille::store {
namespace {

/// What is given up at a time where the source cannot be read.
constexpr std::uint64_t kSectorBytes = 512;

}  // namespace

bool CSourceFile::Open(platform::IFileSystem& fileSystem, const std::filesystem::path& path)
{
    m_unreadable.clear();
    m_source = fileSystem.OpenSource(path);
    m_size = m_source ? m_source->Size() : 0;
    return m_source != nullptr;
}

void CSourceFile::Close()
{
    m_source.reset();
}

std::size_t CSourceFile::Read(std::uint64_t offset, std::span<std::byte> into)
{
    std::size_t done = 0;
    while (m_source && done < into.size()) {
        done += m_source->ReadAt(offset + done, into.subspan(done));
        if (done == into.size())
            break;
        const std::uint64_t failedAt = offset + done;
        const std::uint64_t end = std::min(m_size, m_source->CurrentSize());
        if (failedAt >= end)
            break;
        const std::uint64_t sectorEnd = (failedAt / kSectorBytes + 1) * kSectorBytes;
        const std::uint64_t skipped =
            std::min({sectorEnd - failedAt, end - failedAt, static_cast<std::uint64_t>(into.size() - done)});
        NoteUnreadable(failedAt, skipped);
        std::fill_n(into.begin() + static_cast<std::ptrdiff_t>(done), skipped, std::byte{0});
        done += static_cast<std::size_t>(skipped);
    }
    std::fill(into.begin() + static_cast<std::ptrdiff_t>(done), into.end(), std::byte{0});
    return done;
}

void CSourceFile::NoteUnreadable(std::uint64_t offset, std::uint64_t length)
{
    constexpr std::size_t kMostRanges = 100'000;
    if (!m_unreadable.empty()) {
        Range& last = m_unreadable.back();
        if (offset >= last.offset && offset <= last.offset + last.length) {
            last.length = std::max(last.length, offset + length - last.offset);
            return;
        }
    }
    if (m_unreadable.size() < kMostRanges)
        m_unreadable.push_back({offset, length});
}

}  // namespace pastille::store
