#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "format/Block.h"
#include "format/Checksum.h"
#include "fuzz/Input.h"
#include "fuzz/Run.h"

namespace {

using namespace pastille;

constexpr std::size_t kMostBlocks = 64;
constexpr std::size_t kSpaceBytes = 64 * 1024;

/// Bits of an instruction that spoil what a trailer says.
enum Spoil : std::uint8_t { kWrongSignature = 1, kWrongCrc = 2, kWrongSize = 4, kTrailerAlone = 8 };

/// Writes one block: at a multiple of 16 bytes, over whatever stands there.
void WriteBlock(const format::VariantLayout& layout, fuzz::CInput& input, std::span<std::byte> file,
                std::size_t spaceStart)
{
    constexpr std::size_t kSlotBytes = 16;
    const std::size_t offset = spaceStart + input.Take<std::uint16_t>() * kSlotBytes % kSpaceBytes;
    const std::size_t size = std::min<std::size_t>(input.Take<std::uint16_t>(), layout.largestBlock);
    const auto bid = input.Take<std::uint32_t>();
    const auto spoil = input.Take<std::uint8_t>();
    const auto fill = static_cast<std::byte>(input.Take<std::uint8_t>());
    const auto extent = static_cast<std::size_t>(format::BlockExtent(layout, size));
    if (offset + extent > file.size())
        return;
    std::vector<std::byte> block(extent, fill);
    format::EncodeBlockTrailer(layout, block, size, offset, bid);
    const auto trailer = std::span(block).last(layout.blockTrailerSize);
    if ((spoil & kWrongSignature) != 0)
        trailer[2] ^= std::byte{1};
    if ((spoil & kWrongCrc) != 0)
        trailer[layout.blockCrcOffset] ^= std::byte{1};
    if ((spoil & kWrongSize) != 0)
        trailer[0] ^= std::byte{1};
    const std::size_t first = (spoil & kTrailerAlone) != 0 ? extent - trailer.size() : 0;
    std::copy(block.begin() + static_cast<std::ptrdiff_t>(first), block.end(),
              file.begin() + static_cast<std::ptrdiff_t>(offset + first));
    format::ParseBlockTrailer(layout, std::as_bytes(file.subspan(offset, extent)), size, offset, bid);
}

}  // namespace

// Blocks that no page names, overlapping or nested in each other, and what is left of the input as it stands
// behind them. First bytes: the variant, the number of blocks, 1 for a Smart Scan; then 10 bytes for each
// block.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::CInput input(data, size);
    const format::VariantLayout& layout = input.TakeLayout();
    const std::size_t blocks = std::min<std::size_t>(input.Take<std::uint8_t>(), kMostBlocks);
    const bool smartScan = input.Take<std::uint8_t>() % 2 != 0;
    tests::Bytes file = fuzz::StoreBeginning(layout);
    const std::size_t spaceStart = file.size();
    file.resize(spaceStart + kSpaceBytes + layout.largestBlock);
    for (std::size_t i = 0; i < blocks && !input.IsEmpty(); ++i)
        WriteBlock(layout, input, file, spaceStart);
    const auto rest = input.TakeBytes(kSpaceBytes);
    file.insert(file.end(), rest.begin(), rest.end());
    fuzz::CNoRecovery recovery;
    fuzz::RunOver(file, recovery, smartScan);
    return 0;
}
