#pragma once

#include <algorithm>
#include <array>
#include <span>
#include <string>

#include "platform/FileSystem.h"

namespace pastille::tests {

/// Hands over bytes in pieces of at most `pieceSize`.
class CMemoryStream final : public platform::IByteStream {
public:
    explicit CMemoryStream(std::string bytes, std::size_t pieceSize = 1000)
        : m_bytes(std::move(bytes)), m_pieceSize(pieceSize)
    {
    }
    std::size_t Read(std::span<std::byte> into) override
    {
        const std::size_t count = std::min({into.size(), m_pieceSize, m_bytes.size() - m_done});
        std::ranges::copy(std::as_bytes(std::span(m_bytes)).subspan(m_done, count), into.begin());
        m_done += count;
        return count;
    }

private:
    std::string m_bytes;
    std::size_t m_pieceSize;
    std::size_t m_done = 0;
};

/// All that is left of a stream.
inline std::string ReadAll(platform::IByteStream& stream)
{
    std::string bytes;
    std::array<std::byte, 1000> piece;
    while (const std::size_t count = stream.Read(piece))
        bytes.append(reinterpret_cast<const char*>(piece.data()), count);
    return bytes;
}

}  // namespace pastille::tests
