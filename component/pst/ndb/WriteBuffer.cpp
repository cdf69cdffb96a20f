#include "component/pst/ndb/WriteBuffer.h"

#include <algorithm>

namespace pastille::component::pst {
namespace {

constexpr std::size_t kFlushBytes = std::size_t{1} << 20;
/// A longer gap is left to the file system, which makes it a hole.
constexpr std::uint64_t kLongestGap = 64 * 1024;

}  // namespace

std::span<std::byte> CWriteBuffer::Reserve(std::uint64_t offset, std::size_t size)
{
    if (m_bytes.size() >= kFlushBytes || offset > m_start + m_bytes.size() + kLongestGap)
        Flush();
    if (m_bytes.empty()) {
        m_start = offset;
        m_bytes.reserve(kFlushBytes + kLongestGap);
    }
    const auto place = static_cast<std::size_t>(offset - m_start);
    m_bytes.resize(place + size);
    return std::span(m_bytes).subspan(place, size);
}

bool CWriteBuffer::Read(std::uint64_t offset, std::span<std::byte> into) const
{
    if (m_bytes.empty() || offset + into.size() <= m_start)
        return m_file.ReadAt(offset, into) == into.size();
    if (offset < m_start || offset - m_start + into.size() > m_bytes.size())
        return false;
    std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset - m_start), into.size(), into.begin());
    return true;
}

void CWriteBuffer::Flush()
{
    if (m_bytes.empty())
        return;
    m_file.WriteAt(m_start, m_bytes);
    m_start += m_bytes.size();
    m_bytes.clear();
}

}  // namespace pastille::component::pst
