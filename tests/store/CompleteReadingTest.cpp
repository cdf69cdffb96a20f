#include <gtest/gtest.h>

#include <chrono>
#include <map>

#include "format/PropertyIds.h"
#include "store/complete/FoundTable.h"
#include "store/complete/OrphanSearch.h"
#include "tests/store/LoadedStore.h"
#include "tests/store/ScannedStore.h"
#include "tests/support/StoreMails.h"

namespace pastille::tests {
namespace {

using format::Variant;
using store::complete::CFoundTable;
using store::complete::CNodeData;
using store::complete::CNodeStream;
using store::complete::CSourceBlocks;
using store::complete::FoundRow;
using Reason = store::complete::SourceFault::Reason;

constexpr std::uint32_t kNode = 0x24;

/// A store of raw blocks with one node, scanned.
struct RawScanned {
    template <class Write>
    RawScanned(const StoreFormat& format, Write write)
        : bytes(RawStore(format,
                         [&](CStoreFile& store) {
                             write(store);
                             store.AddNode({kNode, 0, 0, 0x122});
                         })),
          scanned(bytes, format.variant),
          blocks(scanned.source)
    {
    }

    Bytes bytes;
    CScanned scanned;
    CSourceBlocks blocks;
};

Bytes Drain(CNodeData& data, CNodeStream::Holes holes = CNodeStream::Holes::Zeros)
{
    CNodeStream stream(data, holes);
    Bytes all, part(1000);
    while (const std::size_t got = stream.Read(part))
        all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(got));
    return all;
}

TEST(CompleteReading, AStatedSizeDoesNotHideBytes)
{
    for (const Variant variant : kAllVariants) {
        const std::size_t full = format::LayoutOf(variant).largestBlock;
        const Bytes contents = FixedBytes(5, 2 * full + 100);
        const auto exact = static_cast<std::uint32_t>(contents.size());
        for (const std::uint32_t stated : {exact, 0u, 1u, exact - 1000, exact + 1, 0xFFFF'FFFFu}) {
            SCOPED_TRACE(std::string(VariantName(variant)) + " " + std::to_string(stated));
            std::uint64_t tree = 0;
            StoreFormat format = FormatOf(variant);
            format.packing = Packing::None;
            RawScanned store(format, [&](CStoreFile& file) {
                std::vector<std::uint64_t> leaves;
                for (std::size_t at = 0; at < contents.size(); at += full)
                    leaves.push_back(file.WriteBlock(
                        std::span(contents).subspan(at, std::min(full, contents.size() - at))));
                tree = file.WriteDataTreeBlock(1, stated, leaves, {});
            });
            CNodeData data(store.blocks, tree, true);
            EXPECT_EQ(Drain(data), contents);
            EXPECT_GE(data.Size(), contents.size()) << "what is charged covers what comes";
            EXPECT_LE(data.Size(), 3 * full);
            if (stated == exact) {
                EXPECT_EQ(data.Size(), exact);
            }
            EXPECT_EQ(data.Fault() && data.Fault()->reason == Reason::Structure, stated != exact);
        }
    }
}

TEST(CompleteReading, AMissingLeafHoldsItsPlace)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        const std::size_t full = format::LayoutOf(variant).largestBlock;
        Bytes contents(2 * full + 100);  // that packs well
        for (std::size_t i = 0; i < contents.size(); ++i)
            contents[i] = static_cast<std::byte>(i / 100);
        Bytes holed = contents;
        std::fill_n(holed.begin(), full, std::byte{0});
        std::uint64_t whole = 0, small = 0;
        RawScanned store(FormatOf(variant), [&](CStoreFile& file) {
            const auto second = file.WriteBlock(std::span(contents).subspan(full, full));
            const auto third = file.WriteBlock(std::span(contents).subspan(2 * full));
            const std::uint64_t leaves[] = {0xFF00, second, third};
            whole = file.WriteDataTreeBlock(1, static_cast<std::uint32_t>(contents.size()), leaves, {});
            small = file.WriteDataTreeBlock(1, 7, leaves, {});
        });
        CNodeData data(store.blocks, whole, true);
        EXPECT_EQ(Drain(data), holed);
        EXPECT_EQ(data.Fault()->reason, Reason::BlockMissing);
        EXPECT_EQ(Drain(data, CNodeStream::Holes::LeftOut), Bytes(holed.begin() + full, holed.end()));
        CNodeData lying(store.blocks, small, true);
        EXPECT_EQ(Drain(lying, CNodeStream::Holes::LeftOut), Bytes(holed.begin() + full, holed.end()));
        EXPECT_LE(Drain(lying).size(), lying.Size());
    }
}

TEST(CompleteReading, OfADamagedBlockComesWhatCanBeItsOwn)
{
    for (const Variant variant : {Variant::Ansi, Variant::Unicode}) {
        SCOPED_TRACE(VariantName(variant));
        const format::VariantLayout& layout = format::LayoutOf(variant);
        const Bytes contents = FixedBytes(9, 5000);
        std::uint64_t bid = 0;
        StorePlace place{};
        const Bytes sound = RawStore(FormatOf(variant), [&](CStoreFile& file) {
            file.SkipTo(file.Position() + 64);
            bid = file.WriteBlock(contents);
            place = file.Directory().places.back();
            file.AddNode({kNode, bid, 0, 0x122});
        });
        const auto read = [&](const std::function<void(std::span<std::byte>)>& damage) {
            Bytes bytes = sound;
            damage(std::span(bytes).subspan(place.offset, place.extent));
            CScanned scanned(bytes, variant);
            CSourceBlocks blocks(scanned.source);
            const auto block = blocks.Read(bid, true);
            EXPECT_EQ(block.fault.value().reason, Reason::BlockDamaged);
            return block.bytes ? *block.bytes : Bytes();
        };
        const std::size_t trailer = place.extent - layout.blockTrailerSize;
        const std::size_t sector = 1024 - place.offset % 512;
        Bytes erased = contents;
        std::fill_n(erased.begin() + static_cast<std::ptrdiff_t>(sector), 512, std::byte{0});
        EXPECT_EQ(read([&](auto block) { std::ranges::fill(block.subspan(sector, 512), std::byte{0}); }),
                  erased);
        EXPECT_EQ(read([&](auto block) { std::ranges::fill(block.subspan(trailer), std::byte{0}); }),
                  contents);
        EXPECT_EQ(read([&](auto block) { block[trailer + layout.blockBidOffset + 1] ^= std::byte{1}; }),
                  contents)
            << "its signature is still made for the BID asked for";
        EXPECT_EQ(read([&](auto block) { std::ranges::fill(block, std::byte{0}); }), Bytes());
        const auto foreign = [&](auto block) {
            format::EncodeBlockTrailer(layout, block, place.stored, place.offset, bid + 0x400);
            block[100] ^= std::byte{1};
        };
        EXPECT_EQ(read(foreign), Bytes()) << "the bytes of another, itself damaged";
    }
}

TEST(CompleteReading, AHostileTreeHasABound)
{
    std::uint64_t tree = 0, leaf = 0;
    RawScanned store(FormatOf(Variant::Unicode), [&](CStoreFile& file) {
        leaf = file.WriteBlock(FixedBytes(1, 100));
        const std::vector<std::uint64_t> leaves(1021, leaf);
        const std::vector<std::uint64_t> children(1021, file.WriteDataTreeBlock(1, 0, leaves, {}));
        tree = file.WriteDataTreeBlock(2, 0xFFFF'FFFF, children, {});
    });
    CNodeData data(store.blocks, tree, true);
    EXPECT_LT(data.BlockCount(), 70'000u);
    EXPECT_GT(data.BlockCount(), 1021u);
    EXPECT_EQ(data.Fault().value().reason, Reason::Limit);
    EXPECT_LE(data.Size(), store.bytes.size());
    EXPECT_LE(Drain(data).size(), data.Size());
    EXPECT_EQ(store.blocks.Leaves(tree, true), store.blocks.Leaves(tree, true)) << "many values may name it";

    std::uint64_t left = 100'000;
    EXPECT_EQ(ReadDataLeaves(store.blocks, tree, true, left).bids.size(), data.BlockCount());
    EXPECT_LE(left, 100'000 - data.BlockCount());
    const auto cut = ReadDataLeaves(store.blocks, tree, true, left);
    EXPECT_TRUE(cut.bids.empty()) << "the run has seen enough leaves";
    EXPECT_EQ(cut.size, 0u);
    EXPECT_EQ(cut.fault.value().reason, Reason::Limit);
}

constexpr std::uint32_t kSizeTag = 0x0E080003;

/// A table of 2000 rows with the ids from 1 on, each with ten times its id in a cell; `edit` is called with
/// its heap and its row matrix.
struct RawTable {
    template <class Edit>
    explicit RawTable(Edit edit)
        : store(FormatOf(Variant::Unicode),
                [&](CStoreFile& file) {
                    std::vector<TableRow> rows;
                    for (std::uint32_t id = 1; id <= 2000; ++id) {
                        Bytes cell(4);
                        format::StoreLE<std::uint32_t>(cell, 0, 10 * id);
                        rows.push_back({id, {{kSizeTag, cell}}});
                    }
                    TableCounters counters;
                    BuiltTable built =
                        BuildTable({kSizeTag}, rows, {}, file.BlockBytes(), 16, false, counters);
                    edit(built);
                    reference.bidData = file.WriteDataTree(built.heap, "heap");
                    const std::uint64_t matrix = file.WriteDataTree(built.rows, "rows");
                    reference.bidSub = file.WriteSubnodes({{BuiltTable::kRowMatrixNid, matrix, 0}}, "sub");
                }),
          table(store.blocks, reference)
    {
        EXPECT_TRUE(table.Open());
    }

    std::uint32_t Cell(const FoundRow& row)
    {
        const auto value = table.Cell(row, *table.Info().FindId(kSizeTag >> 16));
        return value.isThere ? format::LoadLE<std::uint32_t>(value.bytes, 0) : 0;
    }
    std::vector<std::pair<std::uint32_t, std::uint32_t>> Rows()
    {
        std::vector<std::pair<std::uint32_t, std::uint32_t>> rows;
        table.ForEachRow([&](const FoundRow& row) {
            rows.emplace_back(row.id, Cell(row));
            return true;
        });
        return rows;
    }

    store::complete::NodeReference reference;
    RawScanned store;
    CFoundTable table;
};

/// The bytes of a row of that id in a matrix.
std::span<std::byte> StoredRow(std::vector<Bytes>& matrix, std::uint32_t id)
{
    const std::size_t size = 13;  // id, version, one cell, one byte of bits
    const std::size_t perBlock = matrix.front().size() / size;
    const auto row = std::span(matrix[(id - 1) / perBlock]).subspan((id - 1) % perBlock * size, size);
    EXPECT_EQ(format::LoadLE<std::uint32_t>(row, 0), id);
    return row;
}

/// Gives a row of the index another place.
void SetPlace(std::vector<Bytes>& heap, std::uint32_t id, std::uint32_t place)
{
    for (Bytes& block : heap) {
        for (std::size_t at = 0; at + 8 <= block.size(); at += 2) {
            if (format::LoadLE<std::uint32_t>(block, at) == id &&
                format::LoadLE<std::uint32_t>(block, at + 4) == id - 1)
                format::StoreLE<std::uint32_t>(block, at + 4, place);
        }
    }
}

std::vector<std::pair<std::uint32_t, std::uint32_t>> AllRows()
{
    std::vector<std::pair<std::uint32_t, std::uint32_t>> rows;
    for (std::uint32_t id = 1; id <= 2000; ++id)
        rows.emplace_back(id, 10 * id);
    return rows;
}

TEST(CompleteReading, ARowCountsWhereTheIndexHasIt)
{
    RawTable whole([](BuiltTable&) {});
    EXPECT_EQ(whole.Rows(), AllRows());
    // What a deleted row's place still holds is an older copy of another.
    RawTable stale([](BuiltTable& built) {
        const auto old = StoredRow(built.rows, 4);
        std::ranges::copy(StoredRow(built.rows, 1500), old.begin());
        old[8] ^= std::byte{1};
    });
    auto expected = AllRows();
    expected.erase(expected.begin() + 3);
    EXPECT_EQ(stale.Rows(), expected);
    EXPECT_FALSE(stale.table.RowOf(4));
    EXPECT_EQ(stale.Cell(stale.table.RowOf(1500).value()), 15000u);
}

TEST(CompleteReading, ARowIsFoundWithoutItsPlace)
{
    const auto damage = [](BuiltTable& built) {
        SetPlace(built.heap, 60, 0xFFFF'FFF0);
        SetPlace(built.heap, 1900, 3);
    };
    RawTable byRow(damage);
    EXPECT_EQ(byRow.Cell(byRow.table.RowOf(1900).value()), 19000u);
    EXPECT_EQ(byRow.Cell(byRow.table.RowOf(60).value()), 600u);
    EXPECT_EQ(byRow.Cell(byRow.table.RowOf(4).value()), 40u);
    EXPECT_FALSE(byRow.table.RowOf(2001));
    RawTable inOrder(damage);
    EXPECT_EQ(inOrder.Rows(), AllRows());
}

/// A property context of a message that says that its values stand in these subnodes.
std::uint64_t WriteContext(CStoreFile& file, const std::vector<std::uint32_t>& values, bool hasAttachments)
{
    std::map<std::uint16_t, StoredProperty> properties;
    const auto text = std::as_bytes(std::span(u"IPM.Note", 8));
    properties[format::pid::kMessageClass] = {format::PropertyType::String, Bytes(text.begin(), text.end())};
    Bytes flags(4, std::byte{0});
    flags[0] = hasAttachments ? std::byte{0x10} : std::byte{0};
    properties[format::pid::kMessageFlags] = {format::PropertyType::Integer32, flags};
    for (std::size_t i = 0; i < values.size(); ++i)
        properties[static_cast<std::uint16_t>(0x6000 + i)] = {format::PropertyType::Binary, {}, values[i]};
    return file.WriteDataTree(BuildPropertyContext(properties, file.BlockBytes()).Finish(), "context");
}

TEST(CompleteReading, OrphansMeetTheirOwnTrees)
{
    std::map<std::uint64_t, std::uint64_t> pairs;
    RawScanned store(FormatOf(Variant::Unicode), [&](CStoreFile& file) {
        file.ListBlocks(false);
        std::vector<std::vector<std::uint32_t>> values;
        std::vector<std::uint64_t> trees;
        for (std::uint32_t i = 0; i < 40; ++i) {
            // One value more than the one before it has, and none alike but for the first.
            values.push_back({0x1F + 0x20 * 1});
            for (std::uint32_t value = 0; value < i % 4; ++value)
                values.back().push_back(0x1F + 0x20 * (100 * i + value + 2));
            if (i % 4 == 0)
                values.back() = {0x1F + 0x20 * (100 * i)};
            std::vector<SubnodeRef> subnodes;
            for (const std::uint32_t nid : values.back())
                subnodes.push_back({nid, file.WriteBlock(FixedBytes(i, 50)), 0});
            subnodes.push_back({0x692, file.WriteBlock(FixedBytes(i, 60)), 0});
            trees.push_back(file.WriteSubnodes(subnodes, "sub"));
        }
        // Contexts in another order than their trees, far from them.
        for (std::size_t i = 0; i < 300; ++i)
            file.WriteBlock(FixedBytes(static_cast<std::uint32_t>(i), 20));
        for (std::size_t i = trees.size(); i-- != 0;)
            pairs[WriteContext(file, values[i], false)] = trees[i];
    });
    const auto found = FindOrphanMessages(store.scanned.source, store.blocks, [] { return true; });
    EXPECT_EQ(found.size(), pairs.size());
    for (const auto& orphan : found) {
        EXPECT_TRUE(orphan.isMatched);
        EXPECT_EQ(orphan.reference.bidSub, pairs[orphan.reference.bidData]);
    }
}

TEST(CompleteReading, TreesThatShareTheirBlocksTakeNoTime)
{
    // 300 contexts, 300 trees that all have the same 51,000 subnodes.
    RawScanned store(FormatOf(Variant::Unicode), [&](CStoreFile& file) {
        file.ListBlocks(false);
        const std::uint64_t data = file.WriteBlock(FixedBytes(1, 50));
        std::vector<format::SubnodeIndexEntry> leaves;
        for (std::uint32_t leaf = 0; leaf < 150; ++leaf) {
            std::vector<format::SubnodeLeafEntry> entries;
            for (std::uint32_t i = 0; i < 340; ++i)
                entries.push_back({0x25 + 0x20 * (340 * leaf + i), data, 0});
            leaves.push_back(
                {entries[0].nid, file.WriteInternalBlock(format::EncodeSubnodeLeaf(file.Layout(), entries))});
        }
        for (std::uint32_t i = 0; i < 300; ++i) {
            WriteContext(file, {}, true);
            file.WriteInternalBlock(format::EncodeSubnodeIndex(file.Layout(), leaves));
        }
    });
    const auto start = std::chrono::steady_clock::now();
    const auto found = FindOrphanMessages(store.scanned.source, store.blocks, [] { return true; });
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_GE(found.size(), 300u);
}

}  // namespace
}  // namespace pastille::tests
