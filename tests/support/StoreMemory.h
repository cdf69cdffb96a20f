#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "platform/FileSystem.h"

namespace pastille::tests {

using Bytes = std::vector<std::byte>;

/// A file that is only in memory.
class CMemoryFile : public platform::IFile {
public:
    CMemoryFile() = default;
    explicit CMemoryFile(Bytes bytes) : m_bytes(std::move(bytes)) {}

    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        if (offset >= m_bytes.size())
            return 0;
        const std::size_t count = std::min<std::uint64_t>(into.size(), m_bytes.size() - offset);
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, into.begin());
        return count;
    }
    std::uint64_t Size() const noexcept override { return m_bytes.size(); }
    void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        if (offset + bytes.size() > m_bytes.size())
            m_bytes.resize(offset + bytes.size());
        std::copy(bytes.begin(), bytes.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    void SetSize(std::uint64_t size) override { m_bytes.resize(size); }
    void Sync() override {}
    std::unique_ptr<platform::IMapping> Map() override { return nullptr; }

    const Bytes& Content() const { return m_bytes; }

private:
    Bytes m_bytes;
};

}  // namespace pastille::tests
