#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "format/Crypt.h"
#include "format/Ids.h"
#include "tests/check/CheckSupport.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {
namespace {

using format::PageType;
using format::Variant;
using format::VariantLayout;

constexpr std::uint64_t kAMap = 0x4400;
constexpr std::uint64_t kPMap = 0x4600;
constexpr std::uint32_t kQueue = 0x1E1;  ///< a node without data

void Flip(std::span<std::byte> bytes, std::uint64_t offset, unsigned mask = 1)
{
    bytes[static_cast<std::size_t>(offset)] ^= static_cast<std::byte>(mask);
}

format::BlockEntry FindBlock(const CStorePatch& patch,
                             const std::function<bool(const format::BlockEntry&)>& wanted)
{
    const auto blocks = patch.Blocks();
    const auto found = std::ranges::find_if(blocks, wanted);
    if (found == blocks.end())
        throw std::out_of_range("no such block");
    return *found;
}

/// An internal block by its first two bytes, btype and cLevel.
std::uint64_t FindTreeBlock(const CStorePatch& patch, unsigned type, unsigned level, std::size_t fewest = 1)
{
    const auto isWanted = [&](const format::BlockEntry& entry) {
        if (!format::Bid{entry.reference.bid}.IsInternal() || entry.size != entry.inflatedSize)
            return false;
        const Bytes bytes = patch.Contents(entry.reference.bid);
        return bytes[0] == static_cast<std::byte>(type) && bytes[1] == static_cast<std::byte>(level) &&
               format::LoadLE<std::uint16_t>(bytes, 2) >= fewest;
    };
    return FindBlock(patch, isWanted).reference.bid;
}

/// An XBLOCK whose last data block is shorter than the others.
std::uint64_t FindLastTree(const CStorePatch& patch)
{
    const auto isWanted = [&](const format::BlockEntry& entry) {
        const Bytes bytes = patch.Contents(entry.reference.bid);
        const auto tree = format::CDataTreeBlock::Parse(patch.Layout(), format::CByteView(bytes));
        return format::Bid{entry.reference.bid}.IsInternal() && tree && tree->Level() == 1 &&
               tree->Count() > 1 &&
               patch.Block(tree->ChildAt(tree->Count() - 1)).size != patch.Layout().largestBlock;
    };
    return FindBlock(patch, isWanted).reference.bid;
}

std::uint64_t TrailerOf(const CStorePatch& patch, const format::BlockEntry& block)
{
    return block.reference.offset + format::BlockExtent(patch.Layout(), block.size) -
           patch.Layout().blockTrailerSize;
}

/// A data block whose content no structure depends on.
format::BlockEntry AnAttachmentBlock(const CStorePatch& patch)
{
    return FindBlock(patch, [&](const format::BlockEntry& entry) {
        return !format::Bid{entry.reference.bid}.IsInternal() && entry.inflatedSize > 1000 &&
               patch.Contents(entry.reference.bid)[2] != std::byte{0xEC};
    });
}

/// Swaps two entries of `size` bytes that follow one another.
void SwapEntries(std::span<std::byte> bytes, std::size_t first, std::size_t size)
{
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(first);
    const auto step = static_cast<std::ptrdiff_t>(size);
    std::swap_ranges(at, at + step, at + step);
}

/// The place of the entry for the last leaf in its parent.
void EditLastChild(CStorePatch& patch, PageType tree, const std::function<void(format::IndexEntry&)>& edit)
{
    const auto pages = patch.Pages(tree);
    for (auto page = pages.rbegin(); page != pages.rend(); ++page) {
        const auto bytes = std::span(patch.Raw()).subspan(*page, patch.Layout().pageSize);
        const auto parsed = format::CTreePage::Parse(patch.Layout(), format::CByteView(bytes));
        if (parsed->Level() == 0)
            continue;
        const std::size_t last = parsed->Count() - 1;
        format::IndexEntry entry = parsed->ChildAt(last);
        edit(entry);
        patch.EditPage(*page, [&](std::span<std::byte> into) {
            format::EncodeIndexEntry(patch.Layout(), entry,
                                     into.subspan(last * patch.Layout().blockEntrySize));
        });
        return;
    }
    throw std::out_of_range("the tree is one page");
}

std::function<void(CStorePatch&)> InHeader(std::function<void(format::FileHeader&)> edit)
{
    return [edit](CStorePatch& patch) { patch.EditHeader(edit); };
}

/// In the entry of an attachment's block.
std::function<void(CStorePatch&)> InEntry(std::function<void(format::BlockEntry&)> edit)
{
    return [edit](CStorePatch& patch) { patch.EditBlockEntry(AnAttachmentBlock(patch).reference.bid, edit); };
}

std::function<void(CStorePatch&)> InLastChild(std::function<void(format::IndexEntry&)> edit)
{
    return [edit](CStorePatch& patch) { EditLastChild(patch, PageType::NodeTree, edit); };
}

/// In a bitmap, the header being changed with it.
std::function<void(CStorePatch&)> InMap(std::uint64_t map, std::size_t byte, unsigned mask,
                                        std::function<void(format::FileHeader&)> edit)
{
    return [=](CStorePatch& patch) {
        const std::size_t start = patch.Layout().wide ? 0 : 4;
        patch.EditPage(map, [&](std::span<std::byte> page) { Flip(page, start + byte, mask); });
        patch.EditHeader(edit);
    };
}

std::function<void(CStorePatch&)> FlipInLeaf(std::size_t VariantLayout::*offset)
{
    return [offset](CStorePatch& patch) {
        Flip(patch.Raw(), patch.Pages(PageType::NodeTree).back() + patch.Layout().*offset);
    };
}

/// In the trailer of an attachment's block.
std::function<void(CStorePatch&)> FlipInTrailer(std::size_t (*offset)(const VariantLayout&),
                                                unsigned mask = 1)
{
    return [=](CStorePatch& patch) {
        Flip(patch.Raw(), TrailerOf(patch, AnAttachmentBlock(patch)) + offset(patch.Layout()), mask);
    };
}

/// In an XBLOCK or XXBLOCK.
std::function<void(CStorePatch&)> InTree(unsigned level, CStorePatch::Edit edit)
{
    return [=](CStorePatch& patch) { patch.EditBlock(FindTreeBlock(patch, 1, level), edit); };
}

const std::vector<PlantedFault> kHeaderFaults = {
    {"magic", {"(no store)", "no-store"}, [](auto& p) { Flip(p.Raw(), 0); }},
    {"version",
     {"(no store)", "no-store"},
     [](auto& p) {
         Flip(p.Raw(), 0x0A, 0x10);
         p.Raw()[0x0A] = std::byte{1};
     }},
    {"partial CRC", {"header-crc"}, [](auto& p) { Flip(p.Raw(), 4); }},
    {"client magic", {"header-client"}, InHeader([](auto& h) { h.clientMagic = 0x1234; })},
    {"sentinel", {"header-sentinel"}, InHeader([](auto& h) { h.sentinel = 0; })},
    {"crypt method", {"(no store)", "header-crypt"}, InHeader([](auto& h) { h.cryptMethod = 3; })},
    {"next block", {"header-next-block"}, InHeader([](auto& h) { h.nextBlockBid = 8; })},
    {"next block, odd", {"header-next-block"}, InHeader([](auto& h) { h.nextBlockBid += 2; })},
    {"next page", {"header-next-page"}, InHeader([](auto& h) { h.nextPageBid = 1; })},
    {"message counter", {"header-node-index"}, InHeader([](auto& h) { h.lastNodeIndex[4] = 0x10000; })},
    {"attachment counter", {"header-node-index"}, InHeader([](auto& h) { h.lastNodeIndex[5] = 0x400; })},
    {"fAMapValid", {"maps-mark"}, InHeader([](auto& h) { h.amapValid = 7; })},
    {"node tree's root", {"(no store)", "page-place"}, InHeader([](auto& h) {
         h.nodeTree.offset = std::uint64_t{1} << 31;
     })},
    {"trees exchanged", {"(no store)", "page-type"}, InHeader([](auto& h) {
         std::swap(h.nodeTree, h.blockTree);
     })},
};

// Of the variants whose maps are public.
const std::vector<PlantedFault> kMapFaults = {
    {"file too short", {"file-short"}, InHeader([](auto& h) {
         h.fileSize += format::kAMapSectionBytes;
         h.lastAMapOffset += format::kAMapSectionBytes;
     })},
    {"file too long", {"file-long"}, [](auto& p) { p.Raw().resize(p.Raw().size() + 64); }},
    {"file too long, not closed",
     {"file-long?", "maps-open?"},
     [](auto& p) {
         p.Raw().resize(p.Raw().size() + 64);
         p.EditHeader([](auto& h) { h.amapValid = 0; });
     }},
    {"last AMap", {"header-last-amap"}, InHeader([](auto& h) { h.lastAMapOffset = 0x4600; })},
    {"free bytes", {"amap-free"}, InHeader([](auto& h) { h.freeBytes += 64; })},
    {"free page bytes", {"pmap-free"}, InHeader([](auto& h) { h.freePageBytes += 512; })},
    {"AMap page", {"map-page"}, [](auto& p) { Flip(p.Raw(), kAMap + 400); }},
    {"PMap page at another place",
     {"map-page"},
     [](auto& p) { Flip(p.Raw(), kPMap + p.Layout().pageBidOffset); }},
    {"used space not marked", {"amap-unmarked"}, InMap(kAMap, 3, 0x10, [](auto& h) { h.freeBytes += 64; })},
    {"used space not marked, not closed",
     {"amap-free?", "amap-unmarked?", "maps-open?"},
     InMap(kAMap, 3, 0x10, [](auto& h) { h.amapValid = 0; })},
    {"unused space marked",
     {"amap-surplus"},
     [](auto& p) {
         const std::uint64_t last = p.Header().lastAMapOffset;
         p.EditPage(last, [&](auto page) { Flip(page, p.Layout().typeOffset - 1); });
         p.EditHeader([](auto& h) { h.freeBytes -= 64; });
     }},
    {"page in use shown free", {"pmap-bits"}, InMap(kPMap, 0, 0x80, [](auto& h) { h.freePageBytes += 512; })},
    {"density list", {"density-list?"}, [](auto& p) { Flip(p.Raw(), 0x4200 + p.Layout().typeOffset, 0x41); }},
};

const std::vector<PlantedFault> kPageFaults = {
    {"place", {"page-place"}, InLastChild([](auto& e) { e.child.offset += 64; })},
    {"type", {"page-type"}, FlipInLeaf(&VariantLayout::typeOffset)},
    {"BID", {"page-bid"}, InLastChild([](auto& e) { --e.child.bid; })},
    {"signature", {"page-signature"}, FlipInLeaf(&VariantLayout::signatureOffset)},
    {"CRC", {"page-crc"}, [](auto& p) { Flip(p.Raw(), p.Pages(PageType::NodeTree).back() + 5); }},
    {"maximum",
     {"page-counts"},
     [](auto& p) {
         p.EditPage(p.Pages(PageType::NodeTree).back(),
                    [&](auto page) { page[p.Layout().maximumCountOffset] = std::byte{0}; });
     }},
    {"level",
     {"page-level"},
     [](auto& p) {
         p.EditPage(p.Pages(PageType::NodeTree).back(),
                    [&](auto page) { Flip(page, p.Layout().entrySizeOffset + 1, 4); });
     }},
    {"order",
     {"page-order"},
     [](auto& p) {
         p.EditPage(p.Pages(PageType::NodeTree).at(p.Pages(PageType::NodeTree).size() - 2), [&](auto page) {
             SwapEntries(page, p.Layout().nodeEntrySize, p.Layout().nodeEntrySize);
         });
     }},
    {"parent's key", {"page-key"}, InLastChild([](auto& e) { --e.key; })},
    {"page twice",
     {"page-shared"},
     [](auto& p) {
         const auto pages = p.Pages(PageType::NodeTree);
         const std::uint64_t other = pages.at(pages.size() - 2);
         const auto page = std::span(p.Raw()).subspan(other, p.Layout().pageSize);
         const std::uint64_t bid =
             format::CByteView(page).ReadKey(p.Layout().pageBidOffset, p.Layout().keyWidth).value();
         EditLastChild(p, PageType::NodeTree, [&](auto& e) { e.child = {bid, other}; });
     }},
};

const std::vector<PlantedFault> kBlockFaults = {
    {"reserved bit", {"block-bid"}, InEntry([](auto& e) { e.reference.bid |= 1; })},
    {"place", {"block-place"}, InEntry([](auto& e) { e.reference.offset += 32; })},
    {"outside of the file", {"block-place"}, InEntry([](auto& e) { e.reference.offset = 0x7FFFFE00; })},
    {"no bytes", {"block-size"}, InEntry([](auto& e) { e.size = 0; })},
    {"trailer's BID",
     {"block-trailer-bid"},
     FlipInTrailer([](auto& layout) { return layout.blockBidOffset; }, 4)},
    {"trailer's size", {"block-trailer-size"}, FlipInTrailer([](auto&) { return std::size_t{0}; })},
    {"signature", {"block-signature"}, FlipInTrailer([](auto&) { return std::size_t{2}; })},
    {"content", {"block-crc"}, [](auto& p) { Flip(p.Raw(), AnAttachmentBlock(p).reference.offset + 100); }},
    {"padding",
     {"block-padding?"},
     [](auto& p) {
         const auto block = FindBlock(
             p, [&](const format::BlockEntry& e) { return e.reference.offset + e.size < TrailerOf(p, e); });
         Flip(p.Raw(), block.reference.offset + block.size);
     }},
    {"place of another",
     {"amap-surplus", "block-trailer-bid", "overlap"},
     [](auto& p) {
         const auto block = AnAttachmentBlock(p);
         const auto other = FindBlock(p, [&](const format::BlockEntry& e) {
             return e.size == block.size && e.reference.bid != block.reference.bid;
         });
         p.EditBlockEntry(block.reference.bid, [&](auto& e) { e.reference.offset = other.reference.offset; });
     }},
};

const std::vector<PlantedFault> kReferenceFaults = {
    {"a reference too many", {"block-references"}, InEntry([](auto& e) { ++e.references; })},
    {"no block",
     {"reference-missing"},
     [](auto& p) { p.EditNode(kQueue, [](auto& e) { e.bidData = 0x7FFFF0; }); }},
    {"subnodes as data",
     {"reference-kind"},
     [](auto& p) {
         const std::uint64_t leaf = FindTreeBlock(p, 2, 0);
         p.EditNode(kQueue, [&](auto& e) { e.bidData = leaf; });
         p.EditBlockEntry(leaf, [](auto& e) { ++e.references; });
     }},
    {"data as subnodes",
     {"reference-kind"},
     [](auto& p) {
         const std::uint64_t tree = FindTreeBlock(p, 1, 1);
         p.EditNode(kQueue, [&](auto& e) { e.bidSub = tree; });
         p.EditBlockEntry(tree, [](auto& e) { ++e.references; });
     }},
    {"no tree", {"internal-block"}, InTree(1, [](auto bytes) { bytes[0] = std::byte{9}; })},
    {"short block in the middle",
     {"data-tree-full"},
     [](auto& p) {
         p.EditBlock(FindLastTree(p), [&](auto bytes) {
             SwapEntries(bytes, bytes.size() - 2 * p.Layout().keyWidth, p.Layout().keyWidth);
         });
     }},
    {"data bytes", {"data-tree-total"}, InTree(1, [](auto bytes) { Flip(bytes, 4); })},
    {"subnodes unordered",
     {"subnode-order"},
     [](auto& p) {
         p.EditBlock(FindTreeBlock(p, 2, 0, 3), [&](auto bytes) {
             const std::size_t entry = 3 * p.Layout().keyWidth;
             SwapEntries(bytes, format::SubnodeHeaderSize(p.Layout()) + entry, entry);
         });
     }},
    {"trees that are none", {"reference-kind"}, InTree(1, [](auto bytes) { bytes[1] = std::byte{2}; })},
    {"last block of a middle tree",
     {"data-tree-full"},
     [](auto& p) {
         p.EditBlock(FindTreeBlock(p, 1, 2, 2), [&](auto bytes) {
             SwapEntries(bytes, bytes.size() - 2 * p.Layout().keyWidth, p.Layout().keyWidth);
         });
     }},
    {"bytes of all trees", {"data-tree-total"}, InTree(2, [](auto bytes) { Flip(bytes, 4); })},
    {"key above subnodes",
     {"subnode-key"},
     [](auto& p) {
         p.EditBlock(FindTreeBlock(p, 2, 1),
                     [&](auto bytes) { Flip(bytes, format::SubnodeHeaderSize(p.Layout()), 0x20); });
     }},
    {"subnodes in themselves",
     {"subnode-cycle"},
     [](auto& p) {
         const std::uint64_t leaf = FindTreeBlock(p, 2, 0);
         p.EditBlock(leaf, [&](auto bytes) {
             const std::size_t sub = format::SubnodeHeaderSize(p.Layout()) + 2 * p.Layout().keyWidth;
             ASSERT_EQ(format::LoadLE<std::uint32_t>(bytes, sub), 0u);
             format::StoreLE(bytes, sub, static_cast<std::uint32_t>(leaf));
         });
         p.EditBlockEntry(leaf, [](auto& e) { ++e.references; });
     }},
};

TEST(NdbFaults, OfTheHeader)
{
    for (const Variant variant : kAllVariants)
        ExpectFound(BuilderStore(variant), kHeaderFaults);
    CStorePatch full(BuilderStore(Variant::Unicode));
    Flip(full.Raw(), 0x1F0);  // behind what the partial CRC covers
    EXPECT_EQ(CodesOf(full.Store()), Codes{"header-full-crc"});
}

TEST(NdbFaults, OfTheMaps)
{
    ExpectFound(ComponentStore(), kMapFaults);
    ExpectFound(BuilderStore(Variant::Ansi), kMapFaults);
}

TEST(NdbFaults, OfTreePages)
{
    ExpectFound(ComponentStore(), kPageFaults);
    ExpectFound(BuilderStore(Variant::Ansi), kPageFaults);
    ExpectFound(BuilderStore(Variant::Unicode4k), kPageFaults);
}

TEST(NdbFaults, OfBlocks)
{
    ExpectFound(ComponentStore(), kBlockFaults);
    ExpectFound(BuilderStore(Variant::Ansi), kBlockFaults);
}

TEST(NdbFaults, OfReferencesAndTrees)
{
    ExpectFound(BuilderStore(Variant::Unicode), kReferenceFaults);
    ExpectFound(BuilderStore(Variant::Ansi), kReferenceFaults);
}

/// A compressed block of a file with 4 KB pages whose stream is broken under a sound checksum.
TEST(NdbFaults, OfCompressedBlocks)
{
    CStorePatch patch(BuilderStore(Variant::Unicode4k));
    const auto block = FindBlock(patch, [](const format::BlockEntry& e) { return e.size != e.inflatedSize; });
    const auto extent = std::span(patch.Raw())
                            .subspan(block.reference.offset, format::BlockExtent(patch.Layout(), block.size));
    Flip(extent, block.size - 1);  // of the stream's own checksum
    format::EncodeBlockTrailer(patch.Layout(), extent, block.size, block.reference.offset,
                               block.reference.bid, block.inflatedSize);
    EXPECT_EQ(CodesOf(patch.Store()), Codes{"block-inflate"}) << FindingsOf(patch.Store());
}

TEST(NdbFaults, SectorsThatCannotBeReadCostTheirBlocksAlone)
{
    const Bytes& store = ComponentStore();
    CStorePatch patch(store);
    const auto block = AnAttachmentBlock(patch);
    CMemoryFileSystem memory(store);
    CFaultyFileSystem files({.unreadable = {{block.reference.offset + 512, 512}}}, memory);
    EXPECT_EQ(CodesOf(*files.OpenSource("store.pst")), Codes{"block-unreadable"});
}

}  // namespace
}  // namespace pastille::tests
