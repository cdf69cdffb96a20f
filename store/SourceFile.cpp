#include "store/SourceFile.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace pastille::store {
namespace {

/// What is given up at a time where the source cannot be read.
constexpr std::uint64_t kSectorBytes = 512;
/// What belongs together mostly lies together: small reads near the one before are served from windows.
constexpr std::uint64_t kWindowBytes = 64 * 1024;
constexpr std::size_t kSmallRead = 16 * 1024;
constexpr std::uint64_t kNear = 256 * 1024;

}  // namespace

bool CSourceFile::Open(platform::IFileSystem& fileSystem, const std::filesystem::path& path)
{
    m_unreadable.clear();
    m_windows = {};
    m_source = fileSystem.OpenSource(path);
    m_size = m_source ? m_source->Size() : 0;
    return m_source != nullptr;
}

void CSourceFile::Close()
{
    m_source.reset();
    m_windows = {};
}

/// The window that begins at `start`; nullptr when it is not there, or cannot be read as a whole.
CSourceFile::Window* CSourceFile::WindowAt(std::uint64_t start, bool fill)
{
    Window* oldest = &m_windows[0];
    for (Window& window : m_windows) {
        if (!window.bytes.empty() && window.start == start) {
            window.lastUse = ++m_uses;
            return &window;
        }
        if (window.lastUse < oldest->lastUse)
            oldest = &window;
    }
    if (!fill || m_size - start < kWindowBytes || !UnreadableIn(start, kWindowBytes).empty())
        return nullptr;
    oldest->bytes.resize(kWindowBytes);
    if (m_source->ReadAt(start, oldest->bytes) != kWindowBytes) {
        oldest->bytes.clear();
        return nullptr;
    }
    oldest->start = start;
    oldest->lastUse = ++m_uses;
    return oldest;
}

/// Reads from windows alone. False when it cannot be done so, or does not pay.
bool CSourceFile::ReadNear(std::uint64_t offset, std::span<std::byte> into)
{
    const std::uint64_t last = std::exchange(m_lastOffset, offset);
    const std::uint64_t distance = offset > last ? offset - last : last - offset;
    std::size_t done = 0;
    while (done < into.size()) {
        const std::uint64_t at = offset + done;
        const Window* const window = WindowAt(at / kWindowBytes * kWindowBytes, distance <= kNear);
        if (window == nullptr)
            return false;
        const auto start = static_cast<std::size_t>(at - window->start);
        const std::size_t count = std::min(into.size() - done, window->bytes.size() - start);
        std::copy_n(window->bytes.begin() + static_cast<std::ptrdiff_t>(start), count,
                    into.begin() + static_cast<std::ptrdiff_t>(done));
        done += count;
    }
    return true;
}

std::size_t CSourceFile::Read(std::uint64_t offset, std::span<std::byte> into)
{
    // What another program appends while the run lasts is no part of it.
    const std::uint64_t available = m_source && offset < m_size ? m_size - offset : 0;
    const auto wanted = into.first(static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), available)));
    if (!wanted.empty() && wanted.size() == into.size() && into.size() <= kSmallRead &&
        ReadNear(offset, into))
        return into.size();
    std::fill(into.begin(), into.end(), std::byte{0});
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
