#include "store/SourceFile.h"

#include <algorithm>
#include <iterator>

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
    std::fill(into.begin(), into.end(), std::byte{0});
    // What another program appends while the run lasts is no part of it.
    if (!m_source || offset >= m_size)
        return 0;
    const std::span<std::byte> wanted =
        into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), m_size - offset)));
    std::size_t done = 0;
    while (done < wanted.size()) {
        const std::uint64_t at = offset + done;
        std::uint64_t skipTo = KnownUnreadableEnd(at);
        if (skipTo == at) {
            const auto next = m_unreadable.lower_bound(at);
            const std::uint64_t readable = next == m_unreadable.end() ? m_size : next->first;
            const auto piece =
                static_cast<std::size_t>(std::min<std::uint64_t>(wanted.size() - done, readable - at));
            const std::size_t got = m_source->ReadAt(at, wanted.subspan(done, piece));
            done += got;
            if (got == piece)
                continue;
            if (offset + done >= m_source->CurrentSize())
                return done;
            skipTo = ((offset + done) / kSectorBytes + 1) * kSectorBytes;
            NoteUnreadable(offset + done, skipTo - (offset + done));
        }
        done = static_cast<std::size_t>(std::min<std::uint64_t>(wanted.size(), skipTo - offset));
    }
    return done;
}

std::uint64_t CSourceFile::KnownUnreadableEnd(std::uint64_t offset) const
{
    const auto next = m_unreadable.upper_bound(offset);
    if (next == m_unreadable.begin())
        return offset;
    return std::max(offset, std::prev(next)->second);
}

void CSourceFile::NoteUnreadable(std::uint64_t offset, std::uint64_t length)
{
    std::uint64_t start = offset;
    std::uint64_t end = offset + length;
    auto next = m_unreadable.lower_bound(start);
    if (next != m_unreadable.begin() && std::prev(next)->second >= start) {
        --next;
        start = next->first;
    }
    while (next != m_unreadable.end() && next->first <= end) {
        end = std::max(end, next->second);
        next = m_unreadable.erase(next);
    }
    m_unreadable.emplace(start, end);
}

std::vector<CSourceFile::Range> CSourceFile::UnreadableRanges() const
{
    return UnreadableIn(0, m_size);
}

std::vector<CSourceFile::Range> CSourceFile::UnreadableIn(std::uint64_t offset, std::uint64_t length) const
{
    std::vector<Range> ranges;
    const std::uint64_t end = offset + length;
    auto next = m_unreadable.upper_bound(offset);
    if (next != m_unreadable.begin())
        --next;
    for (; next != m_unreadable.end() && next->first < end; ++next) {
        const std::uint64_t from = std::max(offset, next->first);
        const std::uint64_t to = std::min(end, next->second);
        if (from < to)
            ranges.push_back({from, to - from});
    }
    return ranges;
}

}  // namespace pastille::store
