#include "component/pst/ndb/BlockOutput.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "component/pst/ndb/NewStoreLayout.h"
#include "format/Block.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 20;
/// A longer gap is left to the file system, which makes it a hole.
constexpr std::uint64_t kLongestGap = 64 * 1024;
constexpr std::size_t kMostWaiting = 4;

}  // namespace

CBlockOutput::CBlockOutput(platform::IFile& file, format::CryptMethod method)
    : m_file(file), m_method(method), m_open(std::make_shared<Piece>())
{
}

void CBlockOutput::Stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void CBlockOutput::RaiseFailure()
{
    const std::lock_guard lock(m_mutex);
    if (m_failure)
        std::rethrow_exception(m_failure);
}

/// `size` zero bytes that will stand at `offset`, valid until the next call.
std::span<std::byte> CBlockOutput::Reserve(std::uint64_t offset, std::size_t size)
{
    const std::uint64_t end = m_open->start + m_open->bytes.size();
    if (m_open->bytes.size() >= kPieceBytes || (!m_open->bytes.empty() && offset > end + kLongestGap))
        HandOver();
    if (m_open->bytes.empty()) {
        m_open->start = offset;
        m_open->bytes.reserve(kPieceBytes + kLongestGap);
    }
    const auto place = static_cast<std::size_t>(offset - m_open->start);
    m_open->bytes.resize(place + size);
    return std::span(m_open->bytes).subspan(place, size);
}

void CBlockOutput::AddBlock(std::uint64_t offset, std::uint64_t bid, bool isInternal,
                            std::span<const std::byte> bytes)
{
    const auto extent = static_cast<std::size_t>(format::BlockExtent(kLayout, bytes.size()));
    std::ranges::copy(bytes, Reserve(offset, extent).begin());
    m_open->items.push_back({bid, static_cast<std::uint32_t>(offset - m_open->start),
                             static_cast<std::uint16_t>(bytes.size()), isInternal});
}

void CBlockOutput::AddBytes(std::uint64_t offset, std::span<const std::byte> bytes)
{
    std::ranges::copy(bytes, Reserve(offset, bytes.size()).begin());
}

void CBlockOutput::Overwrite(std::uint64_t offset, std::span<const std::byte> bytes)
{
    RaiseFailure();
    const std::lock_guard lock(m_fileMutex);
    m_file.WriteAt(offset, bytes);
}

void CBlockOutput::HandOver()
{
    auto piece = std::exchange(m_open, std::make_shared<Piece>());
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_failure || m_waiting.size() < kMostWaiting; });
    if (m_failure)
        std::rethrow_exception(m_failure);
    m_waiting.push_back(std::move(piece));
    if (!m_thread.joinable())
        m_thread = std::thread([this] { Run(); });
    lock.unlock();
    m_changed.notify_all();
}

void CBlockOutput::Run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || (!m_failure && !m_waiting.empty()); });
        if (m_isEnding)
            return;
        const auto piece = m_waiting.front();
        lock.unlock();
        std::exception_ptr failure;
        try {
            Write(*piece);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        m_failure = failure;
        m_waiting.pop_front();
        m_changed.notify_all();
    }
}

/// Seals a piece's blocks and writes it. The piece stays plain, for it may be read meanwhile.
void CBlockOutput::Write(const Piece& piece)
{
    m_sealed.assign(piece.bytes.begin(), piece.bytes.end());
    for (const Item& item : piece.items) {
        const auto extent = std::span(m_sealed).subspan(
            item.start, static_cast<std::size_t>(format::BlockExtent(kLayout, item.size)));
        if (!item.isInternal)
            format::EncodeBlock(m_method, item.bid, extent.first(item.size));
        format::EncodeBlockTrailer(kLayout, extent, item.size, piece.start + item.start, item.bid);
    }
    const std::lock_guard lock(m_fileMutex);
    m_file.WriteAt(piece.start, m_sealed);
}

bool CBlockOutput::ReadBlock(std::uint64_t offset, std::uint64_t bid, bool isInternal,
                             std::span<std::byte> into)
{
    const auto copyFrom = [&](const Piece& piece) {
        std::copy_n(piece.bytes.begin() + static_cast<std::ptrdiff_t>(offset - piece.start), into.size(),
                    into.begin());
        return true;
    };
    if (m_open->Holds(offset))
        return copyFrom(*m_open);
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& piece : m_waiting)
            if (piece->Holds(offset))
                return copyFrom(*piece);
    }
    const std::lock_guard lock(m_fileMutex);
    if (m_file.ReadAt(offset, into) != into.size())
        return false;
    if (!isInternal)
        format::DecodeBlock(m_method, bid, into);
    return true;
}

void CBlockOutput::Flush()
{
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_failure || m_waiting.empty(); });
    }
    RaiseFailure();
    if (m_open->bytes.empty())
        return;
    try {
        Write(*m_open);
    } catch (...) {
        const std::lock_guard lock(m_mutex);
        m_failure = std::current_exception();
        throw;
    }
    m_open = std::make_shared<Piece>();
}

}  // namespace pastille::component::pst
