#include <gtest/gtest.h>

#include <map>
#include <set>

#include "component/pst/ndb/NdbReader.h"
#include "format/Checksum.h"
#include "tests/store/LoadedStore.h"
#include "tests/store/ScannedStore.h"
#include "tests/support/Samples.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

using format::Variant;
using store::complete::BlockPlace;
using store::complete::NodeVersion;

/// What a strict walk of a sound store's trees finds.
struct Truth {
    explicit Truth(const Bytes& bytes)
    {
        CMemorySource source(bytes);
        component::pst::CNdbReader reader(source, component::pst::DetectLayout(source));
        reader.VisitNodes([this](const component::pst::NodeRecord& node) {
            nodes[node.nid.value] = {node.data.Key(), node.sub.Key(), node.parent.value};
            return true;
        });
        reader.VisitBlocks([this](const format::BlockEntry& entry) {
            blocks.push_back(entry);
            return true;
        });
        layout = &reader.Layout();
    }

    std::map<std::uint32_t, std::vector<std::uint64_t>> nodes;
    std::vector<format::BlockEntry> blocks;
    const format::VariantLayout* layout;
};

/// A store that lies across the end of a window, with blocks of every size.
CBuiltStore LargeStore(Variant variant)
{
    StoreFolder folder{.name = u"Large"};
    CRandom random(7);
    for (std::uint32_t i = 0; i < 16; ++i) {
        StoreMessage mail = OrdinaryMail(random, i);
        mail.label = "mail" + std::to_string(i);
        if (i % 8 == 0)
            mail.attachments.push_back(
                {.fileName = u"a.bin", .data = FixedBytes(i, 140'077), .inSubnode = true});
        folder.messages.push_back(std::move(mail));
    }
    StoreDescription description = InFolders({folder});
    description.format = FormatOf(variant);
    description.atStart = [](CStoreFile& store) { store.SkipTo(store::ScanWindow::kLength - 100'000); };
    return CBuiltStore(description);
}

std::size_t Middle(const CBuiltStore& store)
{
    const StorePlace& place = store.Directory().Find("mail10/data");
    return static_cast<std::size_t>(place.offset + 5);
}

Bytes Without(Bytes bytes, std::size_t offset, std::size_t count)
{
    bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                bytes.begin() + static_cast<std::ptrdiff_t>(offset + count));
    return bytes;
}

TEST(CompleteScan, AllOfASoundStoreIsFoundWhereItIs)
{
    std::vector<std::pair<std::string, Bytes>> stores;
    for (const Variant variant : kAllVariants)
        stores.emplace_back(VariantName(variant), LargeStore(variant).Content());
    for (const auto& sample : Samples())
        stores.emplace_back(sample.filename(), SampleCopy(sample.filename())->Content());
    for (const auto& [name, bytes] : stores) {
        SCOPED_TRACE(name);
        const Truth truth(bytes);
        const CScanned scanned(bytes, truth.layout->variant);
        for (const format::BlockEntry& entry : truth.blocks) {
            const auto place = scanned.source.blocks.Find(entry.reference.bid, true);
            ASSERT_TRUE(place) << entry.reference.bid;
            EXPECT_EQ(place->offset, entry.reference.offset);
            EXPECT_EQ(place->size, entry.size);
            EXPECT_TRUE(place->isSound && place->isAtHome);
        }
        EXPECT_EQ(scanned.Nodes(true), truth.nodes);
        Bytes headless = bytes;
        std::fill_n(headless.begin(), truth.layout->headerBytes, std::byte{0});
        const CScanned claimed(headless, truth.layout->variant);
        EXPECT_EQ(claimed.Nodes(true), truth.nodes) << "by claims";
        EXPECT_EQ(claimed.source.method, scanned.source.method);
    }
}

/// What moving and cutting has left of a store: blocks that lie wholly before the place, or wholly behind
/// `lost` bytes from it, are sound and the latter moved by `shift`.
void ExpectBlocksAround(const CScanned& scanned, const Truth& truth, std::uint64_t at, std::uint64_t lost,
                        std::int64_t shift)
{
    std::size_t hit = 0;
    for (const format::BlockEntry& entry : truth.blocks) {
        const std::uint64_t start = entry.reference.offset;
        const std::uint64_t end = start + format::BlockExtent(*truth.layout, entry.size);
        const auto place = scanned.source.blocks.Find(entry.reference.bid, end <= at);
        ASSERT_TRUE(place) << entry.reference.bid;
        if (end > at && start < at + lost + (lost == 0)) {
            EXPECT_FALSE(place->isSound);
            ++hit;
            continue;
        }
        const std::uint64_t moved = end <= at ? start : start + static_cast<std::uint64_t>(shift);
        EXPECT_TRUE(place->isSound) << start;
        EXPECT_EQ(place->offset, moved);
        EXPECT_EQ(place->isAtHome, end <= at);
        EXPECT_EQ(place->size, entry.size);
    }
    EXPECT_GE(hit, 1u) << "the place lies in a block";
    EXPECT_EQ(scanned.CountDamaged(), hit);
}

TEST(CompleteScan, WhatMovesIsFoundWhereItIsThen)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        const CBuiltStore sound = LargeStore(variant);
        const Truth truth(sound.Content());
        for (const std::uint64_t inserted : {512, 100, 7}) {
            SCOPED_TRACE(inserted);
            CBuiltStore store = LargeStore(variant);
            store.Damage().Insert(Middle(store), inserted);
            const CScanned scanned(store.Content(), variant);
            ExpectBlocksAround(scanned, truth, Middle(sound), 0, static_cast<std::int64_t>(inserted));
            EXPECT_EQ(scanned.Nodes(true), truth.nodes) << "the tree's pages are behind the place";
        }
        const CScanned cut(Without(sound.Content(), Middle(sound), 333), variant);
        ExpectBlocksAround(cut, truth, Middle(sound), 333, -333);
        EXPECT_EQ(cut.Nodes(true), truth.nodes);
    }
}

TEST(CompleteScan, ADamagedBlockIsWherePagesOrItsTrailerSay)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        CBuiltStore store = LargeStore(variant);
        const StorePlace& place = store.Directory().Find("mail10/data");
        store.Damage().FlipBits(place.offset + 3, 1);
        const auto expectPlace = [&](const Bytes& bytes, std::uint64_t offset, const char* how) {
            const CScanned scanned(bytes, variant);
            const auto found = scanned.source.blocks.Find(place.bid, true);
            ASSERT_TRUE(found) << how;
            EXPECT_FALSE(found->isSound) << how;
            EXPECT_EQ(found->offset, offset) << how;
            EXPECT_EQ(found->size, place.stored) << how;
            EXPECT_EQ(scanned.CountDamaged(), 1u) << how;
        };
        expectPlace(store.Content(), place.offset, "by both");
        CBuiltStore moved = LargeStore(variant);
        moved.Damage().FlipBits(place.offset + 3, 1).Insert(store.Directory().Find("mail4/data").offset, 7);
        const CScanned scanned(moved.Content(), variant);
        const auto found = scanned.source.blocks.Find(place.bid, false);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->offset, place.offset + 7) << "as the page's other blocks have moved";
        CBuiltStore pageless = LargeStore(variant);
        pageless.Damage().FlipBits(place.offset + 3, 1).Drop(PlaceKind::BbtLeaf).Drop(PlaceKind::BbtIndex);
        expectPlace(pageless.Content(), place.offset, "by the trailer");
        store.Damage().Zero(place.offset + place.extent - 24, 24);
        expectPlace(store.Content(), place.offset, "by the page");
    }
}

TEST(CompleteScan, ZerosAndContentsOfOtherBlocksAreNoBlocks)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        const format::VariantLayout& layout = format::LayoutOf(variant);
        StoreFormat format = FormatOf(variant);
        format.crypt = format::CryptMethod::None;
        format.packing = Packing::None;
        // A block in a block, at a multiple of every alignment, and trailers behind zeros.
        Bytes inner(layout.blockAlignment);
        std::ranges::fill(inner, std::byte{'x'});
        format::EncodeBlockTrailer(layout, inner, 20, 0x12340, 0x7774);
        Bytes outer = FixedBytes(1, layout.blockAlignment * 2);
        outer.insert(outer.end(), inner.begin(), inner.end());
        outer.resize(layout.blockAlignment * 6);
        std::uint64_t outerBid = 0;
        Bytes bytes = RawStore(format, [&](CStoreFile& store) {
            outerBid = store.WriteBlock(outer);
            store.WriteBlock(FixedBytes(2, 5000));
            store.SkipTo(store.Position() + 20'000);
        });
        const std::size_t free = (bytes.size() - 10'000) / 512 * 512;
        std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(free) - 9000, bytes.end(), std::byte{0});
        for (std::size_t at : {free, free + 100, free + 4001}) {
            const auto trailer = std::span(bytes).subspan(at, layout.blockTrailerSize);
            format::StoreLE<std::uint16_t>(trailer, 0, 400);
            format::StoreLE<std::uint8_t>(trailer, layout.blockBidOffset, 0x44);
        }
        for (const std::size_t shift : {0, 64, 9}) {
            Bytes moved(shift);
            Append(moved, bytes);
            const CScanned scanned(moved, variant);
            ASSERT_EQ(scanned.source.blocks.Records().size(), 2u) << shift;
            EXPECT_TRUE(scanned.source.blocks.Find(outerBid, true)->isSound);
            EXPECT_FALSE(scanned.source.blocks.Find(0x7774, true));
        }
    }
}

TEST(CompleteScan, OfTwoSoundBlocksTheOneThatThePageMeansIsFound)
{
    const CBuiltStore store = LargeStore(Variant::Unicode);
    const StorePlace& place = store.Directory().Find("mail8/data");
    Bytes bytes = store.Content();
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(place.offset);
    const Bytes copy(first, first + static_cast<std::ptrdiff_t>(place.extent));
    Append(bytes, copy);
    const std::uint64_t end = bytes.size() - place.extent;
    const CScanned scanned(bytes);
    EXPECT_EQ(scanned.source.blocks.Find(place.bid, true)->offset, place.offset);
    EXPECT_EQ(scanned.source.blocks.Find(place.bid | 1, false)->offset, end) << "bit 0 does not count";
    EXPECT_FALSE(scanned.source.blocks.Find(0, true));
}

TEST(CompleteScan, TheNewestPageThatCoversANodeDecides)
{
    for (const Variant variant : kAllVariants) {
        for (const bool hasHeader : {true, false}) {
            SCOPED_TRACE(std::string(VariantName(variant)) + (hasHeader ? "" : ", no header"));
            StoreFormat format = FormatOf(variant);
            format.nodesPerPage = 3;
            format.childrenPerPage = 2;
            Bytes bytes = RawStore(format, [](CStoreFile& store) {
                // 0x84 has been deleted from between nodes, 0xE4 from the end, 0xA4 has been changed twice.
                store.WriteNbtPage(
                    {{0x44, 4, 0, 0x122}, {0x84, 8, 0, 0x122}, {0xA4, 12, 0, 0x122}, {0xE4, 16, 0, 0x122}},
                    {.bid = 0x11});
                store.WriteNbtPage({{0xA4, 20, 8, 0x122}, {0xE4, 16, 0, 0x122}}, {.bid = 0x31});
                store.WriteNbtPage({{0xA4, 12, 4, 0x122}, {0x84, 8, 0, 0x122}}, {.bid = 0x21});
                for (const std::uint32_t nid : {0x24u, 0x44u, 0x64u, 0xA4u, 0xC4u, 0x104u, 0x124u})
                    store.AddNode({nid, nid == 0xA4 ? 24u : 4u, 0, 0x122});
            });
            if (!hasHeader)
                std::fill_n(bytes.begin(), format::LayoutOf(variant).headerBytes, std::byte{0});
            const CScanned scanned(bytes, variant);
            std::set<std::uint32_t> live;
            for (const auto& [nid, values] : scanned.Nodes(true))
                live.insert(nid);
            EXPECT_EQ(live, (std::set<std::uint32_t>{0x24, 0x44, 0x64, 0xA4, 0xC4, 0x104, 0x124}));
            std::vector<std::uint64_t> data;
            for (const NodeVersion& version : scanned.source.nodes.VersionsOf(0xA4))
                data.push_back(version.bidData);
            EXPECT_EQ(data, (std::vector<std::uint64_t>{24, 20, 12, 12})) << "the live one, then by age";
            const auto deleted = scanned.source.nodes.VersionsOf(0xE4);
            ASSERT_EQ(deleted.size(), 1u) << "an entry is kept once";
            EXPECT_EQ(deleted[0].isLive, 0u);
            EXPECT_EQ(scanned.source.nodes.PageOf(deleted[0]).bid, 0x31u) << "with its newest page";
        }
    }
}

TEST(CompleteScan, WhereALeafIsLostTheNextOlderOneSpeaks)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        const format::VariantLayout& layout = format::LayoutOf(variant);
        StoreFormat format = FormatOf(variant);
        format.nodesPerPage = 3;
        std::vector<std::uint64_t> leaves;
        const auto write = [&](CStoreFile& store) {
            store.WriteNbtPage({{0xA4, 12, 0, 0x122}, {0xB4, 8, 0, 0x122}, {0xC4, 16, 0, 0x122}},
                               {.bid = 0x11});
            store.WriteBlock(FixedBytes(1, 100));
            for (const std::uint32_t nid : {0x24u, 0x44u, 0x64u, 0xA4u, 0xC4u, 0xE4u, 0x104u})
                store.AddNode({nid, 40, 0, 0x122});
        };
        const Bytes sound = RawStore(format, write);
        StoreFormat found;
        for (const StorePlace& place : FindTreePages(sound, found).All(PlaceKind::NbtLeaf))
            leaves.push_back(place.offset);
        ASSERT_EQ(leaves.size(), 3u);
        Bytes lost = sound;
        std::fill_n(lost.begin() + static_cast<std::ptrdiff_t>(leaves[1]), layout.pageSize, std::byte{0});
        const auto byOlder = CScanned(lost, variant).Nodes(true);
        EXPECT_EQ(byOlder.at(0xA4)[0], 12u);
        EXPECT_TRUE(byOlder.contains(0xB4)) << "nothing says that it has been deleted";
        EXPECT_FALSE(byOlder.contains(0xE4));
        Bytes flipped = sound;
        flipped[leaves[1] + layout.nodeEntrySize + layout.keyWidth] ^= std::byte{4};
        const CScanned damaged(flipped, variant);
        const auto byDamaged = damaged.Nodes(true);
        EXPECT_EQ(byDamaged.at(0xA4)[0], 40u) << "the page whose CRC is wrong is newer";
        EXPECT_EQ(byDamaged.at(0xC4)[0], 44u);
        EXPECT_FALSE(byDamaged.contains(0xB4));
        EXPECT_FALSE(damaged.source.nodes.PageOf(damaged.source.nodes.VersionsOf(0xA4)[0]).isSound);
        Bytes holed = sound;
        std::fill_n(holed.begin() + static_cast<std::ptrdiff_t>(leaves[1]), layout.nodeEntrySize,
                    std::byte{0});
        const auto byBoth = CScanned(holed, variant).Nodes(true);
        EXPECT_EQ(byBoth.at(0xA4)[0], 12u) << "an entry that cannot be read has not been deleted";
        EXPECT_EQ(byBoth.at(0xC4)[0], 40u);
    }
}

TEST(CompleteScan, PagesThatReferInCirclesEnd)
{
    // Index pages that name themselves and each other, at every level.
    const format::VariantLayout& layout = format::kUnicodeLayout;
    Bytes bytes = RawStore(FormatOf(Variant::Unicode), [](CStoreFile& store) {
        store.AddNode({0x24, 4, 0, 0x122});
        store.SkipTo(store.Position() + 512 * 256);
    });
    for (std::uint64_t i = 0; i < 200; ++i) {
        Bytes page(512);
        for (std::uint64_t entry = 0; entry < 20; ++entry)
            format::EncodeIndexEntry(layout, {entry * 0x1000 + i, {0x100 + (i + entry) % 200, 0}},
                                     std::span(page).subspan(entry * 24));
        const std::uint64_t at = bytes.size();
        format::EncodeTreePage(layout, page, format::PageType::NodeTree, 1 + i % 8, 20, at, 0x100 + i);
        Append(bytes, page);
    }
    for (const bool hasHeader : {true, false}) {
        if (!hasHeader)
            std::fill_n(bytes.begin(), layout.headerBytes, std::byte{0});
        EXPECT_EQ(CScanned(bytes).Nodes(true).size(), 1u);
    }
}

TEST(CompleteScan, TheBlocksSayHowTheyAreEncoded)
{
    for (const Variant variant : kAllVariants) {
        for (const format::CryptMethod method : format::kCryptMethods) {
            StoreDescription description =
                InFolders({{.name = u"A", .messages = {Mail(u"S", u"a@b", u"body", 1)}}});
            description.format = FormatOf(variant);
            description.format.crypt = method;
            for (const std::uint8_t announced : std::initializer_list<std::uint8_t>{0, 1, 2, 77}) {
                CBuiltStore store(description);
                store.Damage().SetCryptByte(announced);
                EXPECT_EQ(CScanned(store.Content(), variant).source.method, method)
                    << VariantName(variant) << " " << int{announced};
            }
        }
    }
}

TEST(CompleteScan, AFileIsRecognisedByItsPages)
{
    const auto recognise = [](Bytes bytes, std::optional<platform::SourceKind> kind = {}) {
        CMemoryFileSystem files(std::move(bytes));
        store::CSourceFile file;
        file.Open(files, "source.pst");
        return store::complete::RecogniseFile(file, kind, [](std::uint64_t) { return true; });
    };
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        StoreDescription description =
            InFolders({{.name = u"A", .messages = {Mail(u"S", u"a@b", u"body", 1)}}});
        description.format = FormatOf(variant, true);
        CBuiltStore store(description);
        ASSERT_TRUE(recognise(store.Content()));
        EXPECT_EQ(recognise(store.Content(), platform::SourceKind::Pst)->kind, store::FileKind::Ost)
            << "the header's word counts first";
        store.Damage().SetClientMagic(0x1234);
        EXPECT_EQ(recognise(store.Content())->variant, variant);
        store.Damage().ZeroHeader().Insert(600, 13);
        const auto type = recognise(store.Content());
        ASSERT_TRUE(type);
        EXPECT_EQ(type->variant, variant);
        EXPECT_EQ(type->kind, variant == Variant::Unicode4k ? store::FileKind::Ost : store::FileKind::Pst);
        EXPECT_EQ(recognise(store.Content(), platform::SourceKind::Ost)->kind, store::FileKind::Ost);
    }
    EXPECT_FALSE(recognise({}));
    EXPECT_FALSE(recognise(Bytes(300'000)));
    EXPECT_FALSE(recognise(Bytes(300'000, std::byte{0x81})));
    EXPECT_FALSE(recognise(FixedBytes(3, 1'500'000)));
    Bytes text;
    for (int i = 0; i < 20'000; ++i)
        Append(text, std::as_bytes(std::span("Dear all, nothing in here is a store. ", 38)));
    EXPECT_FALSE(recognise(text));
}

TEST(CompleteScan, AMultitudeOfFalseTrailersHidesNothing)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        const format::VariantLayout& layout = format::LayoutOf(variant);
        const CBuiltStore store = LargeStore(variant);
        Bytes bytes(7);
        Append(bytes, store.Content());
        const std::size_t first = bytes.size();
        bytes.resize(first + 150'000, std::byte{1});
        for (std::size_t at = first; at + 32 <= bytes.size(); at += layout.blockTrailerSize) {
            const auto trailer = std::span(bytes).subspan(at, layout.blockTrailerSize);
            format::StoreLE<std::uint16_t>(trailer, 0, static_cast<std::uint16_t>(layout.largestBlock));
            format::StoreLE<std::uint32_t>(trailer, layout.blockBidOffset, static_cast<std::uint32_t>(at));
        }
        const Truth truth(store.Content());
        const CScanned scanned(bytes, variant);
        for (const format::BlockEntry& entry : truth.blocks) {
            const auto place = scanned.source.blocks.Find(entry.reference.bid, false);
            ASSERT_TRUE(place && place->isSound) << entry.reference.bid;
            EXPECT_EQ(place->offset, entry.reference.offset + 7);
        }
        EXPECT_EQ(scanned.Nodes(true), truth.nodes);
    }
}

}  // namespace
}  // namespace pastille::tests
