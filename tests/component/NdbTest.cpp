#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <random>
#include <utility>

#include "component/pst/ndb/AllocationPlan.h"
#include "component/pst/ndb/DataTree.h"
#include "component/pst/ndb/MapPages.h"
#include "component/pst/ndb/SortedList.h"
#include "component/pst/ndb/StoreCompletion.h"
#include "format/Block.h"
#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::Bid;
using format::Nid;
using format::NidType;

Bid WriteTree(CNdbWriter& writer, std::span<const std::byte> bytes, std::size_t children = 1021)
{
    CDataTreeWriter tree(writer, children);
    tree.Append(bytes);
    EXPECT_EQ(tree.Size(), bytes.size());
    return tree.Finish();
}

TEST(NdbWriter, DataTreesOfAllShapes)
{
    // Cut to 3 children, so that two levels come within reach: up to 9 blocks.
    const std::size_t full = 8176;
    for (const std::size_t size : {std::size_t{1}, full, full + 1, 3 * full, 3 * full + 1, 9 * full}) {
        CMemoryFile file;
        CNdbWriter writer(file);
        const std::vector<std::byte> bytes = Pattern(size, 7);
        CDataTreeWriter tree(writer, 3);
        for (std::size_t at = 0; at < size; at += 1000)
            tree.Append(std::span(bytes).subspan(at, std::min<std::size_t>(1000, size - at)));
        writer.PutNode({0x21}, tree.Finish(), {});
        writer.Commit();
        ASSERT_EQ(DatabaseErrors(file), "") << size;
        CNdbReader reader(file);
        CDataTreeReader data(reader, reader.FindNode({0x21})->data);
        EXPECT_EQ(data.Size(), size);
        EXPECT_EQ(data.ReadAll(), bytes);
        // A range that begins inside a block and ends in the next or at the end.
        std::vector<std::byte> range(full);
        const std::size_t start = size / 2;
        range.resize(data.Read(start, range));
        EXPECT_EQ(range.size(), std::min(full, size - start));
        EXPECT_TRUE(
            std::equal(range.begin(), range.end(), bytes.begin() + static_cast<std::ptrdiff_t>(start)));
        EXPECT_EQ(data.Read(size, range), 0u);
    }
    CMemoryFile file;
    CNdbWriter writer(file);
    CDataTreeWriter tree(writer, 3);
    EXPECT_EQ(CDataTreeWriter(writer).Finish(), Bid{}) << "no bytes, no tree";
    EXPECT_THROW(tree.Append(Pattern(9 * full + 1)); tree.Finish(), std::length_error);
}

TEST(NdbWriter, SubnodeTreesOfBothLevels)
{
    for (const std::size_t count : {1u, 4u, 5u, 20u}) {
        CMemoryFile file;
        CNdbWriter writer(file);
        const Bid shared = writer.AddDataBlock(Pattern(100));
        CSubnodeTreeWriter inner;
        inner.Add({0x671}, shared);
        const Bid innerTree = inner.Finish(writer);
        CSubnodeTreeWriter subnodes({4, 5});
        for (std::uint32_t i = static_cast<std::uint32_t>(count); i-- > 0;)
            subnodes.Add(Nid::Make(NidType::Attachment, 0x401 + i), shared, innerTree);
        writer.AllocateNid(NidType::Attachment);
        for (std::size_t i = 1; i < count; ++i)
            writer.AllocateNid(NidType::Attachment);
        writer.PutNode(MessageNid(0), shared, subnodes.Finish(writer), {0x122});
        EXPECT_EQ(writer.ReferencesTo(shared), count + 2)
            << "the node, its subnodes, the one inner subnode block";
        EXPECT_EQ(writer.ReferencesTo(innerTree), count);
        writer.Commit();
        ASSERT_EQ(DatabaseErrors(file), "") << count;

        CNdbReader reader(file);
        const Bid sub = reader.FindNode(MessageNid(0))->sub;
        std::uint32_t seen = 0;
        VisitSubnodes(reader, sub, [&seen](const NodeRecord& node) {
            return node.nid == Nid::Make(NidType::Attachment, 0x401 + seen++);
        });
        EXPECT_EQ(seen, count);
        for (std::uint32_t i = 0; i < count; ++i)
            EXPECT_TRUE(FindSubnode(reader, sub, Nid::Make(NidType::Attachment, 0x401 + i))) << i;
        EXPECT_FALSE(FindSubnode(reader, sub, {0x21}));
        EXPECT_FALSE(FindSubnode(reader, sub, Nid::Make(NidType::Ltp, 0x500)));
    }
    CMemoryFile file;
    CNdbWriter writer(file);
    CSubnodeTreeWriter twice;
    twice.Add({0x671}, {});
    twice.Add({0x671}, {});
    EXPECT_THROW(twice.Finish(writer), std::invalid_argument);
}

/// The bytes of every node as the file has them.
std::map<std::uint32_t, std::vector<std::byte>> Contents(platform::IByteSource& file)
{
    CNdbReader reader(file);
    std::map<std::uint32_t, std::vector<std::byte>> contents;
    reader.VisitNodes([&](const NodeRecord& node) {
        contents[node.nid.value] = CDataTreeReader(reader, node.data).ReadAll();
        return true;
    });
    return contents;
}

// Nodes come, change and go in random order, a few or hundreds between two checkpoints, so that pages of both
// trees split, empty and go, and levels come and go. What the file holds is what was put, and no more.
TEST(NdbWriter, EveryCheckpointAndCommitLeavesAStoreOfItsOwn)
{
    std::mt19937 engine(1);
    const auto random = [&engine] { return static_cast<std::uint32_t>(engine()); };
    CMemoryFile file;
    CNdbWriter writer(file);
    std::map<std::uint32_t, std::vector<std::byte>> expected;
    const auto put = [&](std::uint32_t nid) {
        const auto bytes = Pattern(random() % 10 == 0 ? 9000 : 1 + random() % 400, random());
        writer.PutNode({nid}, WriteTree(writer, bytes), {});
        expected[nid] = bytes;
    };
    put(0x21);
    std::uint64_t completed = 0;
    for (unsigned round = 0; round < 32; ++round) {
        const unsigned changes = round % 5 == 0 ? 150 : random() % 8;
        for (unsigned i = 0; i < changes; ++i) {
            const std::uint32_t nid = MessageNid(random() % 600).value;
            if (round % 10 > 6 && expected.contains(nid)) {
                writer.RemoveNode({nid});
                expected.erase(nid);
            } else {
                put(nid);
            }
        }
        if (round == 26)
            while (expected.size() > 1) {
                const std::uint32_t nid = expected.rbegin()->first;
                writer.RemoveNode({nid});
                expected.erase(nid);
            }
        const bool isCommit = round % 4 == 3;
        isCommit ? writer.Commit() : writer.Checkpoint();
        ASSERT_EQ(DatabaseErrors(file), "") << round;
        ASSERT_EQ(Contents(file), expected) << round;
        EXPECT_EQ(CNdbReader(file).Header().amapValid, isCommit ? 2 : 0);
        CMemoryFile copy(file.Content());
        completed += CompleteStore(copy) ? 1 : 0;
        ASSERT_EQ(DatabaseErrors(copy), "") << round;
        ASSERT_EQ(Contents(copy), expected) << round;
    }
    EXPECT_EQ(completed, 24u) << "all but the commits had something to complete";
}

class CCountingFile final : public CMemoryFile {
public:
    void WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override
    {
        bytesWritten += bytes.size();
        CMemoryFile::WriteAt(offset, bytes);
    }
    std::uint64_t bytesWritten = 0;
};

// A checkpoint costs what has changed, not what is there.
TEST(NdbWriter, CheckpointsAreCheapInLargeStores)
{
    CCountingFile file;
    CNdbWriter writer(file);
    for (std::uint32_t i = 0; i < 20000; ++i)
        writer.PutNode(MessageNid(i), writer.AddDataBlock(Pattern(20, i)), {});
    writer.Checkpoint();
    const std::uint64_t before = writer.FileBytes();
    for (std::uint32_t i = 0; i < 100; ++i) {
        writer.PutNode(MessageNid(i * 200), writer.AddDataBlock(Pattern(30, i)), {});
        writer.Checkpoint();
    }
    // Each puts a block and, in either tree, a path of at most five pages or two.
    EXPECT_LT(writer.FileBytes() - before, 100 * 64 + 2 * 12 * 512u) << "pages that are free again are used";
    EXPECT_LT(file.bytesWritten, before + 100 * (64 + 564 + 20 * 512));
    writer.Commit();
    EXPECT_EQ(DatabaseErrors(file), "");
}

TEST(NdbWriter, RefusesBlocksThatAreNotThereOrCannotBe)
{
    CMemoryFile file;
    CNdbWriter writer(file);
    const Bid only = writer.AddDataBlock(Pattern(5000));
    EXPECT_EQ(*writer.ReadBlock(only), Pattern(5000)) << "before any commit";
    EXPECT_THROW(writer.ReadBlock({only.value + 4}), std::invalid_argument);
    EXPECT_THROW(writer.ReadBlock({only.value | 2}), std::invalid_argument);
    EXPECT_THROW(writer.AddDataBlock({}), std::length_error);
    EXPECT_THROW(writer.AddDataBlock(Pattern(8177)), std::length_error);
}

TEST(NdbWriter, BlocksAreStoredAsTheHeaderSays)
{
    for (const auto method :
         {format::CryptMethod::None, format::CryptMethod::Permute, format::CryptMethod::Cyclic}) {
        CMemoryFile file;
        CNdbWriter writer(file, method);
        const std::vector<std::byte> plain = Pattern(3 * 8176, 9);
        writer.PutNode({0x21}, WriteTree(writer, plain), {});
        writer.Commit();
        ASSERT_EQ(DatabaseErrors(file), "");
        const bool isPlain =
            std::ranges::equal(std::span(file.Content()).subspan(0x4800, 8176), std::span(plain).first(8176));
        EXPECT_EQ(isPlain, method == format::CryptMethod::None);
        CNdbReader reader(file);
        EXPECT_EQ(CDataTreeReader(reader, reader.FindNode({0x21})->data).ReadAll(), plain);
    }
}

using component::pst::CAllocationPlan;
using component::pst::MapPagePlace;
using format::PageType;

constexpr std::uint64_t kSection = 253952;

std::vector<PageType> TypesOf(std::uint64_t section)
{
    std::vector<PageType> types;
    std::uint64_t expected = CAllocationPlan::SectionStart(section);
    for (const MapPagePlace& place : CAllocationPlan::MapPagesOf(section)) {
        EXPECT_EQ(place.offset, expected);
        expected += 512;
        types.push_back(place.type);
    }
    return types;
}

TEST(NdbAllocation, MapPagesStandAtTheirIntervals)
{
    using enum PageType;
    const std::map<std::uint64_t, std::vector<PageType>> expected = {
        {0, {AllocationMap, PageMap}},
        {1, {AllocationMap}},
        {7, {AllocationMap}},
        {8, {AllocationMap, PageMap}},
        {120, {AllocationMap, PageMap}},
        {128, {AllocationMap, PageMap, FreeMap}},
        {624, {AllocationMap, PageMap, FreeMap}},
        {8191, {AllocationMap}},
        {8192, {AllocationMap, PageMap, FreePageMap}},
        {39936, {AllocationMap, PageMap, FreePageMap}}};
    for (const auto& [section, types] : expected)
        EXPECT_EQ(TypesOf(section), types) << section;
    EXPECT_EQ(CAllocationPlan::MapPagesOf(128)[2].offset, 0x1F04800u);
    EXPECT_EQ(CAllocationPlan::MapPagesOf(8192)[2].offset, 0x7C004800u);
}

TEST(NdbAllocation, SkipsMapPagesAndNeverCrossesASection)
{
    CAllocationPlan plan;
    EXPECT_EQ(plan.FileSize(), 0x42400u) << "the smallest store";
    EXPECT_EQ(plan.TakeBlock(64), 0x4800u) << "behind the first AMap and PMap";
    EXPECT_EQ(plan.TakePage(), 0x4A00u) << "pages at multiples of 512";
    EXPECT_EQ(plan.TakeBlock(8192), 0x4C00u);

    const std::uint64_t second = 0x4400 + kSection;
    plan.SkipTo(second - 64);
    EXPECT_EQ(plan.TakeBlock(64), second - 64) << "exactly up to the border";
    EXPECT_EQ(plan.SectionCount(), 1u) << "a full section does not begin the next";
    EXPECT_EQ(plan.TakeBlock(64), second + 512) << "one map page only";
    plan.SkipTo(second + kSection - 8128);
    EXPECT_EQ(plan.TakeBlock(8192), second + kSection + 512) << "too long for the rest of the section";
    EXPECT_EQ(plan.SectionCount(), 3u);
    EXPECT_EQ(plan.FileSize(), 0x4400 + 3 * kSection);
    EXPECT_EQ(plan.LastAMapOffset(), 0x4400 + 2 * kSection);

    for (const std::uint64_t section : {128u, 8192u}) {
        const std::uint64_t start = CAllocationPlan::SectionStart(section);
        CAllocationPlan far;
        far.SkipTo(start - 128);
        EXPECT_EQ(far.TakePage(), start + 3 * 512) << section;
    }
}

TEST(NdbAllocation, PagesGivenBackAreTakenFirst)
{
    CAllocationPlan plan;
    const std::uint64_t page = plan.TakePage();
    const std::uint64_t block = plan.TakeBlock(64);
    plan.ReusePage(page);
    EXPECT_EQ(plan.TakeBlock(64), block + 64) << "blocks never go back";
    EXPECT_EQ(plan.TakePage(), page);
    EXPECT_GT(plan.TakePage(), block);
}

/// A store whose trees have two levels.
Bytes WriteStore()
{
    CMemoryFile file;
    CNdbWriter writer(file);
    for (std::uint32_t i = 0; i < 60; ++i)
        writer.PutNode(MessageNid(i), writer.AddDataBlock(Pattern(100, i)), {}, {0x122});
    writer.Commit();
    return file.Content();
}

using PageChange = std::function<void(std::span<std::byte> page, std::uint64_t offset)>;

/// Rewrites the page at `offset` after a change of its bytes, with sound checksums.
void RewritePage(Bytes& store, std::uint64_t offset, const PageChange& change)
{
    const auto page = std::span(store).subspan(offset, 512);
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
        Bytes store = WriteStore();
        CMemoryFile sound(store);
        RewritePage(store, CNdbReader(sound).Header().nodeTree.offset, change);
        CMemoryFile file(store);
        CNdbReader reader(file);
        EXPECT_THROW(reader.VisitNodes([](const NodeRecord&) { return true; }), CFormatError) << name;
    }
}

TEST(NdbDamage, FilesThatEndInTheHeaderAreRefused)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{563}}) {
        CMemoryFile file(WriteStore());
        file.SetSize(size);
        EXPECT_THROW(CNdbReader{file}, CFormatError) << size;
    }
}

}  // namespace
}  // namespace pastille::tests
