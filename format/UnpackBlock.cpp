#include "format/UnpackBlock.h"

#include <utility>

#include "format/Ids.h"
#include "format/Inflate.h"

namespace pastille::format {
namespace {

/// Replaces the bytes when they are a whole stream of that size.
bool InflateWhole(std::vector<std::byte>& bytes, std::size_t size)
{
    std::vector<std::byte> output(size);
    const Inflated inflated = Inflate(bytes, output);
    if (!inflated.isWhole || inflated.produced != size)
        return false;
    bytes = std::move(output);
    return true;
}

}  // namespace

bool UnpackBlock(const VariantLayout& layout, CryptMethod method, std::uint64_t bid, std::size_t inflatedSize,
                 std::vector<std::byte>& bytes)
{
    const bool isEncoded = !Bid{bid}.IsInternal() && method != CryptMethod::None;
    const bool isPacked =
        layout.variant == Variant::Unicode4k && inflatedSize != 0 && inflatedSize != bytes.size();
    const bool isInflated = isPacked && InflateWhole(bytes, inflatedSize);
    if (isEncoded)
        DecodeBlock(method, bid, bytes);
    if (!isPacked || isInflated || (isEncoded && InflateWhole(bytes, inflatedSize)))
        return true;
    if (isEncoded)
        EncodeBlock(method, bid, bytes);
    return false;
}

}  // namespace pastille::format
