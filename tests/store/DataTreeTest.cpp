#include "store/DataTree.h"

#include <gtest/gtest.h>

#include "format/Bytes.h"
#include "store/HeapBlock.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::Variant;

Bytes Pattern(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::byte>('a' + i * 7 % 26 + i / 1000 % 5);
    return bytes;
}

using Bids = std::vector<std::uint64_t>;

std::uint32_t Low(std::uint64_t bid)
{
    return static_cast<std::uint32_t>(bid);
}

/// A store that holds one folder, for the crypt method, and what `write` adds.
template <class Write>
std::unique_ptr<CLoadedStore> Load(StoreFormat format, Write write)
{
    StoreDescription description;
    description.format = format;
    description.beforeTrees = write;
    auto loaded = std::make_unique<CLoadedStore>(CBuiltStore(description));
    EXPECT_TRUE(loaded->Detect(0x8022));
    return loaded;
}

Bytes ReadAll(CLoadedStore& loaded, std::uint64_t bid)
{
    Bytes all;
    store::ReadDataTree(loaded.source.reader, Low(bid), [&](std::span<const std::byte> piece) {
        all.insert(all.end(), piece.begin(), piece.end());
        return true;
    });
    return all;
}

TEST(DataTree, BlocksAreFoundThroughBidsThatAreOneTooHigh)
{
    std::uint64_t tree = 0;
    const auto loaded = Load({}, [&](CStoreFile& store) {
        const std::uint64_t a = store.WriteBlock(Pattern(100));
        const std::uint64_t b = store.WriteBlock(Pattern(200));
        tree = store.WriteDataTreeBlock(1, 0, Bids{a + 1, b + 1}, {});
    });
    Bytes expected = Pattern(100);
    const Bytes second = Pattern(200);
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(ReadAll(*loaded, tree), expected);
    EXPECT_EQ(ReadAll(*loaded, tree + 1), expected) << "the tree's own BID as well";
}

TEST(DataTree, AMissingBlockCostsItsOwnBytes)
{
    std::uint64_t tree = 0;
    const auto loaded = Load({}, [&](CStoreFile& store) {
        const std::uint64_t a = store.WriteBlock(Pattern(100));
        const std::uint64_t b = store.WriteBlock(Pattern(200));
        tree = store.WriteDataTreeBlock(1, 0, Bids{a, 0xFFFF0, 0, b}, {});
    });
    EXPECT_EQ(ReadAll(*loaded, tree).size(), 300u);
}

TEST(DataTree, TreesThatContainThemselvesEnd)
{
    constexpr std::uint64_t kOwn = 0x4002, kOther = 0x4006;
    std::uint64_t leaf = 0;
    const auto loaded = Load({}, [&](CStoreFile& store) {
        leaf = store.WriteBlock(Pattern(10));
        store.WriteDataTreeBlock(1, 0, Bids{kOwn, leaf, kOwn}, {.bid = kOwn});
        store.WriteDataTreeBlock(2, 0, Bids{kOther, kOwn, kOther}, {.bid = kOther});
    });
    EXPECT_LE(store::LoadDataTree(loaded->source.reader, Low(kOther)).size(), 9u);
    EXPECT_EQ(ReadAll(*loaded, kOwn), Pattern(10)) << "tree blocks are no data";
    EXPECT_EQ(ReadAll(*loaded, kOther), Pattern(10));
}

TEST(DataTree, ABlockThatIsListedWithoutEndGivesNoMoreThanTheFileHas)
{
    std::uint64_t leaf = 0, tree = 0, deep = 0;
    const auto loaded = Load({}, [&](CStoreFile& store) {
        leaf = store.WriteBlock(Pattern(8000));
        tree = store.WriteDataTreeBlock(1, 0, Bids(1000, leaf), {});
        deep = store.WriteDataTreeBlock(2, 0, Bids(1000, tree), {});
    });
    const std::uint64_t fileSize = loaded->source.reader.SourceSize();
    for (const std::uint64_t bid : {tree, deep}) {
        const std::size_t read = ReadAll(*loaded, bid).size();
        EXPECT_LE(read, fileSize + 8000);
        EXPECT_GE(read, fileSize / 2);
    }
    EXPECT_LE(store::LoadDataTree(loaded->source.reader, Low(deep)).size(), fileSize / 8 + 1000)
        << "nor are its lists read without end";
}

TEST(DataTree, BehindASubnodeBlockTheFirstEntryStandsForTheWhole)
{
    constexpr std::uint64_t kFirstList = 0x4002, kSecondList = 0x4006;
    std::uint64_t whole = 0, single = 0;
    const auto loaded = Load({}, [&](CStoreFile& store) {
        const std::uint64_t other = store.WriteBlock(Pattern(30));
        const std::uint64_t tree = store.WriteData(Pattern(2500), "tree", 1000);
        whole = store.WriteSubnodes({{0x1F, tree, 0}, {0x3F, other, 0}}, "whole");
        single = store.WriteSubnodes({{0x1F, other, 0}}, "single");
        store.WriteSubnodes({{0x1F, kSecondList, 0}}, "first", kFirstList);
        store.WriteSubnodes({{0x1F, kFirstList, 0}}, "second", kSecondList);
    });
    EXPECT_EQ(ReadAll(*loaded, whole), Pattern(2500));
    EXPECT_EQ(ReadAll(*loaded, single), Pattern(30));
    EXPECT_TRUE(ReadAll(*loaded, kFirstList).empty()) << "lists that name each other";
}

TEST(DataTree, LevelsAndKindsThatDoNotExistGiveNoChildren)
{
    std::uint64_t deep = 0, subnodes = 0;
    const auto loaded = Load({}, [&](CStoreFile& store) {
        const std::uint64_t leaf = store.WriteBlock(Pattern(10));
        deep = store.WriteDataTreeBlock(9, 0, Bids{leaf, leaf}, {});
        subnodes = store.WriteSubnodes({{0x1F, leaf, 0}}, "list");
    });
    EXPECT_LE(store::LoadDataTree(loaded->source.reader, Low(deep)).size(), 1u);
    EXPECT_TRUE(store::LoadSubnodes(loaded->source.reader, Low(deep)).empty());
    EXPECT_LE(store::LoadDataTree(loaded->source.reader, Low(subnodes)).size(), 1u);
}

TEST(Subnodes, CountsAndCyclesAreBounded)
{
    constexpr std::uint64_t kOwn = 0x4002, kLong = 0x4006;
    const auto loaded = Load({}, [&](CStoreFile& store) {
        Bytes index(8 + 32);
        index[0] = std::byte{2};
        index[1] = std::byte{1};
        format::StoreLE(std::span(index), 2, std::uint16_t{2});
        format::StoreLE(std::span(index), 16, kOwn);
        format::StoreLE(std::span(index), 32, kLong);
        store.WriteInternalBlock(index, {.bid = kOwn});
        Bytes list(8 + 2 * 24);
        list[0] = std::byte{2};
        format::StoreLE(std::span(list), 2, std::uint16_t{0xFFFF});
        store.WriteInternalBlock(list, {.bid = kLong});
    });
    EXPECT_EQ(store::LoadSubnodes(loaded->source.reader, Low(kLong)).size(), 2u)
        << "only entries inside the block";
    EXPECT_EQ(store::LoadSubnodes(loaded->source.reader, Low(kOwn)).size(), 2u);
}

TEST(HeapValues, AreNeverFoundThroughNodeIds)
{
    std::map<std::uint16_t, StoredProperty> properties;
    for (std::uint16_t id = 0x3001; id < 0x3040; ++id)
        properties[id] = {format::PropertyType::Binary, Pattern(40)};
    const Bytes context = BuildPropertyContext(properties).Finish().front();
    const store::CHeapBlock heap(format::CByteView(context), format::kUnicodeLayout);
    const auto records = heap.PropertyRecords(true);
    ASSERT_TRUE(records);
    const std::uint32_t hid = records->front().value;
    EXPECT_TRUE(heap.Value(hid));
    EXPECT_TRUE(heap.Allocation(hid));
    for (const std::uint32_t nidType : {0x04u, 0x05u, 0x1Fu}) {
        EXPECT_FALSE(heap.Value(hid | nidType)) << nidType;
        EXPECT_FALSE(heap.Allocation(hid | nidType)) << nidType;
    }
    EXPECT_FALSE(heap.Value(hid | 0x10000)) << "of the second block";
}

TEST(StringValues, EmptyAndInvertedAllocationsAreEmptyTexts)
{
    Bytes block(64, std::byte{'A'});
    const std::span<std::byte> at(block);
    // Page map at 40: allocations 12-12, 12-20, 20-14, 14-60.
    format::StoreLE(at, 0, std::uint16_t{40});
    for (const auto& [offset, value] : {std::pair<std::size_t, std::uint16_t>{40, 4},
                                        {42, 0},
                                        {44, 12},
                                        {46, 12},
                                        {48, 20},
                                        {50, 14},
                                        {52, 60}})
        format::StoreLE(at, offset, value);
    const auto loaded = Load({}, [](CStoreFile&) {});
    const store::CHeapBlock heap(format::CByteView(block), format::kUnicodeLayout);
    const platform::CCodePage codePage("windows-1252");
    const auto read = [&](std::uint32_t hid) {
        return store::ReadStringValue(loaded->source.reader, heap, 0x1E, hid, {}, codePage);
    };
    EXPECT_EQ(read(0x20), u"");
    EXPECT_EQ(read(0x40).size(), 8u);
    EXPECT_EQ(read(0x60), u"");
    EXPECT_EQ(read(0x80).size(), 46u);
    format::StoreLE(at, 52, std::uint16_t{62});
    EXPECT_EQ(read(0x80), u"") << "end + 2 reaches the block's end: the value lies elsewhere";
}

}  // namespace
}  // namespace pastille::tests
