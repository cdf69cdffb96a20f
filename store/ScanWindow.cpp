#include "store/ScanWindow.h"

#include <algorithm>

namespace pastille::store {
namespace {

constexpr std::size_t kWindowBytes = std::size_t{2} << 20;

}  // namespace

CScanWindow::CScanWindow(CSourceFile& source) : m_source(source), m_buffer(kWindowBytes) {}

format::CByteView CScanWindow::At(std::uint64_t offset, std::size_t length)
{
    const bool inside = m_filled != 0 && offset >= m_start && offset + length <= m_start + m_buffer.size();
    if (!inside) {
        m_start = offset;
        m_filled = m_source.Read(offset, m_buffer);
    }
    const auto skip = static_cast<std::size_t>(offset - m_start);
    m_transferred = m_filled > skip ? std::min(length, m_filled - skip) : 0;
    return format::CByteView(std::span<const std::byte>(m_buffer).subspan(skip, length));
}

}  // namespace pastille::store
