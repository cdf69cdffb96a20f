#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "format/Block.h"
#include "fuzz/BlockFile.h"
#include "platform/Text.h"
#include "store/DataTree.h"

namespace {

using namespace pastille;

void ReadStrictly(const format::VariantLayout& layout, format::CByteView bytes)
{
    const auto block = format::CSubnodeBlock::Parse(layout, bytes);
    for (std::size_t i = 0; block && i < block->Count(); ++i) {
        if (block->Level() == 0)
            block->LeafAt(i);
        else
            block->ChildAt(i);
    }
}

}  // namespace

// Blocks that are each other's sub-node lists, and texts kept behind their entries.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const platform::CCodePage codePage("windows-1252");
    constexpr std::size_t kMostTexts = 16;
    fuzz::CBlockFile file(fuzz::CInput(data, size));
    for (const store::BlockRecord& block : file.Blocks()) {
        ReadStrictly(file.Layout(), file.Bytes(block));
        const auto entries = store::LoadSubnodes(file.Reader(), block.bid);
        for (std::size_t i = 0; i < std::min(entries.size(), kMostTexts); ++i) {
            for (const std::uint16_t type : {std::uint16_t{0x001F}, std::uint16_t{0x001E}})
                store::ReadSubnodeText(file.Reader(), entries, entries[i].nid, type, codePage);
            store::LoadSubnodes(file.Reader(), entries[i].bidSub);
        }
    }
    return 0;
}
