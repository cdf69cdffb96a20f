#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "format/Bytes.h"
#include "store/SourceFile.h"

namespace pastille::store {

/// A window that moves over the source front to back, so that a scan in small steps reads in large pieces.
class CScanWindow {
public:
    explicit CScanWindow(CSourceFile& source);

    /// The `length` bytes at `offset`, zero where the file has ended. Offsets must not fall from call to
    /// call. REQUIRES: length <= 1 MiB. Valid until the next call.
    format::CByteView At(std::uint64_t offset, std::size_t length);

    /// How many bytes of the last view were in the file.
    std::size_t Transferred() const { return m_transferred; }

private:
    CSourceFile& m_source;
    std::vector<std::byte> m_buffer;
    std::uint64_t m_start = 0;
    std::size_t m_filled = 0;  ///< bytes of the buffer that hold the file from m_start on
    std::size_t m_transferred = 0;
};

}  // namespace pastille::store
