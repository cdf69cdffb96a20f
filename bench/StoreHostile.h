#pragma once

#include <cstdint>

#include "platform/FileSystem.h"
#include "tests/support/StoreFile.h"

namespace pastille::bench {

/// What fills a file that no mail program wrote.
enum class HostileFill {
    Zeros,
    Random,
    Trailers,  ///< block trailers alone, each right for its place, that name each other's bytes as data
    BbtPage,   ///< one leaf page of the block tree again and again, with the signature of its place
    NbtPages,  ///< leaf pages of the node tree alone, every node id another one
};

/// Fills `file`, which must be empty, up to `size` bytes: the client's magic and one page by which the
/// variant is recognised, then nothing but `fill`. Only the variant and the kind of client of `format` count.
void WriteHostileFile(HostileFill fill, const tests::StoreFormat& format, std::uint64_t size,
                      platform::IFile& file);

}  // namespace pastille::bench
