#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "platform/FileSystem.h"

namespace pastille::tests {

using Bytes = std::vector<std::byte>;

/// Bytes in memory as a source.
class CMemorySource : public platform::IByteSource {
public:
    /// `bytes` must outlive this object.
    explicit CMemorySource(std::span<const std::byte> bytes) : m_bytes(bytes) {}
    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        if (offset >= m_bytes.size())
            return 0;
        const auto found =
            m_bytes.subspan(offset, std::min<std::uint64_t>(into.size(), m_bytes.size() - offset));
        std::ranges::copy(found, into.begin());
        return found.size();
    }
    std::uint64_t Size() const noexcept override { return m_bytes.size(); }

private:
    std::span<const std::byte> m_bytes;
};

/// A file that is only in memory.
class CMemoryFile : public platform::IFile {
public:
    CMemoryFile() = default;
    explicit CMemoryFile(Bytes bytes) : m_bytes(std::move(bytes)) {}

    std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> into) noexcept override
    {
        return CMemorySource(m_bytes).ReadAt(offset, into);
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
