#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <utility>

#include "component/pst/ndb/DataTree.h"
#include "format/Block.h"
#include "format/Checksum.h"
#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::Bid;
using format::NidType;

/// A store of a few hundred nodes with data trees and subnodes, put in the given number of commits.
void WriteStore(CNdbWriter& writer, std::uint32_t commits)
{
    for (std::uint32_t round = 0; round < commits; ++round) {
        for (std::uint32_t i = 0; i < 30; ++i) {
            const std::uint32_t number = round * 30 + i;
            CDataTreeWriter tree(writer);
            tree.Append(Pattern(100 + number % 7 * 5000, number));
            CSubnodeTreeWriter subnodes;
            subnodes.Add({0x692}, writer.AddDataBlock(Pattern(60, number)));
            writer.PutNode(MessageNid(number), tree.Finish(), subnodes.Finish(writer), {0x122});
        }
        writer.PutNode({0x21}, writer.AddDataBlock(Pattern(50, 1000 + round)), {});
        writer.Commit();
    }
}

/// True when the store holds just what WriteStore has put by the end of `commits`.
bool HoldsStore(platform::IByteSource& file, std::uint32_t commits)
{
    CNdbReader reader(file);
    if (*reader.ReadBlock(reader.FindNode({0x21})->data) != Pattern(50, 1000 + commits - 1))
        return false;
    std::uint32_t nodes = 0;
    reader.VisitNodes([&nodes](const NodeRecord&) { return ++nodes != 0; });
    if (nodes != commits * 30 + 1)
        return false;
    for (std::uint32_t number = 0; number < commits * 30; ++number) {
        const auto node = reader.FindNode(MessageNid(number));
        if (!node ||
            CDataTreeReader(reader, node->data).ReadAll() != Pattern(100 + number % 7 * 5000, number))
            return false;
    }
    return true;
}

// Every operation on the file fails once, in turn. What stands there afterwards is the last store that was
// complete, or none at all; and the writer takes no more work.
TEST(NdbFailure, NoFailingOperationCostsAnEarlierCommit)
{
    std::uint64_t stores = 0;
    std::uint64_t none = 0;
    for (std::uint64_t failing = 1;; ++failing) {
        CTestFile file;
        file.failingOperation = failing;
        CNdbWriter writer(file);
        std::uint32_t commits = 0;
        bool hasFailed = false;
        try {
            for (commits = 0; commits < 3; ++commits) {
                for (std::uint32_t i = 0; i < 30; ++i) {
                    const std::uint32_t number = commits * 30 + i;
                    CDataTreeWriter tree(writer);
                    tree.Append(Pattern(100 + number % 7 * 5000, number));
                    writer.PutNode(MessageNid(number), tree.Finish(), {}, {0x122});
                }
                writer.PutNode({0x21}, writer.AddDataBlock(Pattern(50, 1000 + commits)), {});
                writer.Commit();
            }
        } catch (const std::system_error&) {
            hasFailed = true;
        }
        if (!hasFailed)
            break;
        const std::uint64_t before = file.operations;
        EXPECT_THROW(writer.AddDataBlock(Pattern(10)), std::system_error);
        EXPECT_THROW(writer.Commit(), std::system_error);
        EXPECT_EQ(file.operations, before) << "nothing is written after a failure";
        std::optional<CNdbReader> reader;
        try {
            reader.emplace(file);
        } catch (const CFormatError&) {
            // The header itself was half written, or none was yet.
            ++none;
            continue;
        }
        // A failing sync of the new header leaves the new store.
        EXPECT_TRUE(HoldsStore(file, commits == 0 ? 1 : commits) || HoldsStore(file, commits + 1)) << failing;
        EXPECT_NO_THROW(VerifyNodeDatabase(file, format::kUnicodeLayout, FileEnd::MayBeLater)) << failing;
        ++stores;
    }
    EXPECT_GT(stores, 6u);
    EXPECT_GT(none, 3u);
}

// One bit flips somewhere in what the store uses: the checker sees it, whatever the place.
TEST(NdbDamage, TheCheckerFindsFlippedBits)
{
    CTestFile file;
    CNdbWriter writer(file);
    WriteStore(writer, 1);
    ASSERT_NO_THROW(VerifyNodeDatabase(file));
    std::vector<std::size_t> places = {0x4,  0x9,  0x20, 0x28,  0xB8,  0xC0, 0xC8,
                                       0xD8, 0xE0, 0xF8, 0x200, 0x201, 0x20C};
    for (std::size_t at = 0x4200; at < 0x4800; at += 61)
        places.push_back(at);
    CNdbReader reader(file);
    reader.VisitTreePages([&places](std::uint64_t offset, format::PageType) {
        for (const std::size_t at : {0u, 9u, 250u, 488u, 490u, 491u, 496u, 499u, 505u})
            places.push_back(offset + at);
        return true;
    });
    reader.VisitBlocks([&places](const format::BlockEntry& entry) {
        if (entry.reference.bid % 20 != 0 && !format::Bid{entry.reference.bid}.IsInternal())
            return true;
        const std::size_t end =
            entry.reference.offset + format::BlockExtent(format::kUnicodeLayout, entry.size);
        for (const std::size_t at : {entry.reference.offset, end - 16, end - 14, end - 12, end - 8})
            places.push_back(at);
        return true;
    });
    ASSERT_GT(places.size(), 200u);
    for (const std::size_t at : places) {
        file.bytes[at] ^= std::byte{0x04};
        EXPECT_THROW(VerifyNodeDatabase(file), CFormatError) << std::hex << at;
        file.bytes[at] ^= std::byte{0x04};
    }
    EXPECT_NO_THROW(VerifyNodeDatabase(file)) << "all is back in its place";
}

/// Completes the header again after a change of its fields.
void RewriteHeader(CTestFile& file, const std::function<void(format::FileHeader&)>& change)
{
    format::FileHeader header = CNdbReader(file).Header();
    change(header);
    format::EncodeHeader(format::kUnicodeLayout, header, std::span(file.bytes).first(564));
}

// Faults with sound checksums, which only the rules of the structures show.
TEST(NdbDamage, TheCheckerFindsWrongFieldsWithSoundChecksums)
{
    const std::vector<std::pair<const char*, std::function<void(format::FileHeader&)>>> changes = {
        {"file size", [](auto& h) { h.fileSize -= format::kAMapSectionBytes; }},
        {"last AMap", [](auto& h) { h.lastAMapOffset += format::kAMapSectionBytes; }},
        {"free bytes", [](auto& h) { h.freeBytes += 64; }},
        {"free pages", [](auto& h) { h.freePageBytes = 512; }},
        {"next block", [](auto& h) { h.nextBlockBid = 8; }},
        {"next page", [](auto& h) { h.nextPageBid = 1; }},
        {"messages", [](auto& h) { h.lastNodeIndex[4] = 0x10000; }},
        {"swapped trees", [](auto& h) { std::swap(h.nodeTree, h.blockTree); }},
        {"root of another id", [](auto& h) { --h.nodeTree.bid; }},
        {"root in itself", [](auto& h) { h.nodeTree.offset = 0x4800; }},
        {"root outside", [](auto& h) { h.nodeTree.offset = std::uint64_t{1} << 62; }},
        {"crypt method", [](auto& h) { h.cryptMethod = 3; }},
        {"version", [](auto& h) { h.version = 14; }}};
    for (const auto& [name, change] : changes) {
        CTestFile file;
        CNdbWriter writer(file);
        WriteStore(writer, 2);
        RewriteHeader(file, change);
        EXPECT_THROW(VerifyNodeDatabase(file), CFormatError) << name;
    }
}

using PageChange = std::function<void(std::span<std::byte> page, std::uint64_t offset)>;

/// Rewrites the page at `offset` after a change of its bytes, with sound checksums.
void RewritePage(CTestFile& file, std::uint64_t offset, const PageChange& change)
{
    const auto page = std::span(file.bytes).subspan(offset, 512);
    const auto trailer = format::ParsePageTrailer(format::kUnicodeLayout, format::CByteView(page), offset);
    change(page, offset);
    format::EncodePageTrailer(format::kUnicodeLayout, page, trailer->trailer.type, offset,
                              trailer->trailer.bid);
}

TEST(NdbDamage, TreesThatBreakTheirRulesAreRefused)
{
    const std::vector<std::pair<const char*, PageChange>> changes = {
        {"count over maximum", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 488, 21); }},
        {"entry size 0", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 490, 0); }},
        {"level of a leaf", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 491, 0); }},
        {"level too high", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 491, 200); }},
        {"keys unsorted",
         [](auto page, auto) { std::swap_ranges(page.begin(), page.begin() + 24, page.begin() + 24); }},
        {"parent key", [](auto page, auto) { format::StoreLE<std::uint32_t>(page, 0, 0x20); }},
        {"child is itself", [](auto page, auto offset) {
             const format::BlockReference self{format::LoadLE<std::uint64_t>(page, 504), offset};
             const auto firstKey = format::LoadLE<std::uint64_t>(page, 0);
             format::EncodeIndexEntry(format::kUnicodeLayout, {firstKey, self}, page);
         }}};
    for (const auto& [name, change] : changes) {
        CTestFile file;
        CNdbWriter writer(file);
        WriteStore(writer, 2);
        const format::BlockReference root = CNdbReader(file).Header().nodeTree;
        RewritePage(file, root.offset, change);
        CNdbReader reader(file);
        EXPECT_THROW(reader.VisitNodes([](const NodeRecord&) { return true; }), CFormatError) << name;
    }
}

// One page each, its checksum made good again.
TEST(NdbDamage, TheCheckerComparesCountsAndMapsWithWhatIsThere)
{
    const auto firstBlockLeaf = [](CNdbReader& reader) {
        std::uint64_t last = 0;
        reader.VisitTreePages(
            [&last](std::uint64_t offset, format::PageType) { return (last = offset) != 0; });
        return last;
    };
    const auto change = [&](std::uint64_t offset, std::size_t at, unsigned bits) {
        CTestFile file;
        CNdbWriter writer(file);
        WriteStore(writer, 1);
        CNdbReader reader(file);
        RewritePage(file, offset == 0 ? firstBlockLeaf(reader) : offset,
                    [=](auto page, auto) { page[at] ^= static_cast<std::byte>(bits); });
        EXPECT_THROW(VerifyNodeDatabase(file), CFormatError) << std::hex << offset << ' ' << at;
    };
    change(0, 18, 1);           // cRef of a block
    change(0, 16, 1);           // cb of a block
    change(0, 8, 0x40);         // ib of a block
    change(0x4400, 495, 1);     // space marked that nothing uses
    change(0x4400, 2, 0x80);    // space in use not marked
    change(0x4600, 100, 0x10);  // a free page slot
}

/// A store of one node over the given internal block, whose children are data blocks of 100 bytes.
template <class MakeBlock>
void ExpectRefused(const char* name, bool isSubnodeTree, MakeBlock makeBlock)
{
    CTestFile file;
    CNdbWriter writer(file);
    const std::uint64_t data = writer.AddDataBlock(Pattern(100)).value;
    const std::uint64_t full = writer.AddDataBlock(Pattern(8176)).value;
    const Bid root = writer.AddInternalBlock(makeBlock(data, full));
    writer.PutNode(MessageNid(0), isSubnodeTree ? Bid{} : root, isSubnodeTree ? root : Bid{});
    writer.PutNode({0x21}, {data}, {});
    writer.PutNode({0x61}, {full}, {});
    writer.Commit();
    EXPECT_THROW(VerifyNodeDatabase(file), CFormatError) << name;
}

TEST(NdbDamage, BlockTreesThatBreakTheirRulesAreRefused)
{
    constexpr const format::VariantLayout& kLayout = format::kUnicodeLayout;
    const auto tree = [](unsigned level, std::uint32_t total, std::vector<std::uint64_t> children) {
        return format::EncodeDataTreeBlock(kLayout, level, total, children);
    };
    using Ids = std::uint64_t;
    ExpectRefused("wrong total", false, [&](Ids data, Ids full) { return tree(1, 8275, {full, data}); });
    ExpectRefused("short middle", false, [&](Ids data, Ids full) { return tree(1, 8276, {data, full}); });
    ExpectRefused("level 2 over data", false, [&](Ids data, Ids full) {
        return tree(2, 8276, {full, data});
    });
    ExpectRefused("too few", false, [&](Ids, Ids full) { return tree(1, 20000, {full, full}); });
    ExpectRefused("subnodes unsorted", true, [&](Ids data, Ids) {
        return format::EncodeSubnodeLeaf(
            kLayout, std::vector<format::SubnodeLeafEntry>{{0x692, data, 0}, {0x671, data, 0}});
    });
    ExpectRefused("subnode twice", true, [&](Ids data, Ids) {
        return format::EncodeSubnodeLeaf(
            kLayout, std::vector<format::SubnodeLeafEntry>{{0x692, data, 0}, {0x692, data, 0}});
    });
    ExpectRefused("subnode tree over data", true, [&](Ids data, Ids) {
        return format::EncodeSubnodeIndex(kLayout, std::vector<format::SubnodeIndexEntry>{{0x692, data}});
    });
}

TEST(NdbDamage, TruncatedFilesAreRefused)
{
    CTestFile file;
    CNdbWriter writer(file);
    WriteStore(writer, 1);
    const std::vector<std::byte> whole = file.bytes;
    for (const std::size_t size :
         {std::size_t{0}, std::size_t{3}, std::size_t{563}, std::size_t{0x4400}, whole.size() - 1}) {
        file.bytes.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THROW(CNdbReader{file}, CFormatError) << size;
    }
    file.bytes = whole;
    file.bytes.push_back(std::byte{0});
    EXPECT_THROW(VerifyNodeDatabase(file), CFormatError) << "longer than the header says";
    EXPECT_NO_THROW(VerifyNodeDatabase(file, format::kUnicodeLayout, FileEnd::MayBeLater));
}

}  // namespace
}  // namespace pastille::tests
