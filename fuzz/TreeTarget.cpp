#include <array>
#include <cstddef>
#include <cstdint>

#include "format/Block.h"
#include "fuzz/BlockFile.h"
#include "store/DataTree.h"

namespace {

using namespace pastille;

/// A stream's bytes in pieces of an odd size, so that they end inside blocks.
void ReadStream(store::CBlockReader& reader, std::uint32_t bid)
{
    store::CDataStream stream(store::CDataBlocks(reader, store::LoadDataTree(reader, bid)));
    std::array<std::byte, 1021> piece;
    constexpr int kMostPieces = 256;
    for (int i = 0; i < kMostPieces && stream.Read(piece) != 0; ++i) {
    }
}

}  // namespace

// Blocks that are each other's data trees, in every way of reading one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::CBlockFile file(fuzz::CInput(data, size));
    for (const store::BlockRecord& block : file.Blocks()) {
        std::size_t bytes = 0;
        store::ReadDataTree(file.Reader(), block.bid, [&](std::span<const std::byte> piece) {
            bytes += piece.size();
            return true;
        });
        ReadStream(file.Reader(), block.bid);
        store::CDataBlocks(file.Reader(), store::LoadDataTree(file.Reader(), block.bid)).LookUp();
        const auto tree = format::CDataTreeBlock::Parse(file.Layout(), file.Bytes(block));
        for (std::size_t i = 0; tree && i < tree->Count(); ++i)
            tree->ChildAt(i);
    }
    return 0;
}
