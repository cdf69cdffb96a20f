#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// Gathers what is written at rising offsets into large writes. Gaps become zeros.
class CWriteBuffer {
public:
    explicit CWriteBuffer(platform::IFile& file) : m_file(file) {}

    /// `size` zero bytes that will stand at `offset`, to be filled before the next call.
    /// REQUIRES: offset is not below the end of what was reserved before.
    std::span<std::byte> Reserve(std::uint64_t offset, std::size_t size);
    /// Reads bytes written before, from the buffer or the file. False when they are not all there.
    bool Read(std::uint64_t offset, std::span<std::byte> into) const;
    void Flush();

private:
    platform::IFile& m_file;
    std::vector<std::byte> m_bytes;
    std::uint64_t m_start = 0;
};

}  // namespace pastille::component::pst
