#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "format/Crypt.h"
#include "format/Layout.h"

namespace pastille::format {

/// Turns the bytes of a block as a file keeps them into its data, in place: blocks of 4 KB files whose sizes
/// differ are inflated, data blocks are decoded. Which of the two comes first differs between programs; the
/// checksum of the stream tells. `inflatedSize`: bytes of data that the block is said to hold, 0 when nothing
/// says so. False when the bytes are no stream of that size either way; they are as they were then.
bool UnpackBlock(const VariantLayout& layout, CryptMethod method, std::uint64_t bid, std::size_t inflatedSize,
                 std::vector<std::byte>& bytes);

}  // namespace pastille::format
