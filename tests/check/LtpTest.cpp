#include <gtest/gtest.h>

#include <algorithm>

#include "format/Ids.h"
#include "tests/check/CheckSupport.h"
#include "tests/check/HeapPatch.h"

namespace pastille::tests {
namespace {

using format::LoadLE;
using format::PropertyType;
using format::StoreLE;
using format::Variant;

constexpr std::uint32_t kReceiveFolders = 0x62B;
constexpr std::uint32_t kRecipients = 0x692;
constexpr std::uint16_t kProbe = 0x6F01;  ///< a property that means nothing, and the next ones

/// A store whose first message holds the properties given besides those of a mail.
Bytes StoreOf(format::Variant variant, const std::vector<StoreProperty>& properties, std::size_t messages = 1)
{
    StoreDescription description;
    description.format.variant = variant;
    description.format.packing = Packing::None;  // patches are of plain blocks
    AddLateNodes(description);
    description.folders = {{.name = u"Probe"}};
    for (std::size_t i = 0; i < messages; ++i) {
        StoreMessage mail = Mail(u"Probe", u"Ada Brook", u"Text", FileTime(2020, 1, 2));
        mail.label = i == 0 ? "probe" : "";
        mail.recipients = {{u"Jonas Kern", u"jonas@example.com", 1}};
        description.folders[0].messages.push_back(mail);
    }
    for (const StoreProperty& property : properties)
        description.folders[0].messages[0].properties.push_back(property);
    return CBuiltStore(description).Content();
}

/// What every fault of a value starts from: two binaries, a string and a boolean.
std::vector<StoreProperty> Plain()
{
    return {Binary(kProbe, "first one"), Binary(kProbe + 1, "second one"), Text(kProbe + 2, u"third"),
            Flag(kProbe + 3, true)};
}

std::uint32_t FirstMessage(const CStorePatch& patch)
{
    const auto nodes = patch.Nodes();
    const auto isMessage = [](const format::NodeEntry& node) {
        return format::Nid{static_cast<std::uint32_t>(node.nid)}.Type() == format::NidType::NormalMessage;
    };
    return static_cast<std::uint32_t>(std::ranges::find_if(nodes, isMessage)->nid);
}

/// Changes the first message's heap.
std::function<void(CStorePatch&)> InMessage(std::function<void(const CHeapPatch&)> edit)
{
    return [edit](CStorePatch& patch) { EditHeap(patch, FirstMessage(patch), edit); };
}

void Add(std::span<std::byte> bytes, std::size_t offset, int more)
{
    bytes[offset] = static_cast<std::byte>(static_cast<int>(bytes[offset]) + more);
}

const std::vector<PlantedFault> kStructureFaults = {
    {"heap signature", {"heap-block"}, InNode(0x2227, [](auto& h) { Add(h.Block(), 2, 1); })},
    {"page map behind a gap", {"heap-page-map"}, InMessage([](auto& h) {
         // The last value loses two bytes to the gap, and may do so: it is no string and has no row.
         const auto map = h.PageMap();
         Add(map, 4 + 2 * std::size_t{LoadLE<std::uint16_t>(map, 0)}, -2);
     })},
    {"cFree", {"heap-free-count"}, InNode(kRootHierarchy, [](auto& h) { Add(h.PageMap(), 2, 1); })},
    {"client of another kind",
     {"heap-client"},
     InNode(0x60F, [](auto& h) { h.Block()[3] = std::byte{0xBC}; })},
    {"two properties with one value", {"heap-item-shared"}, InMessage([](auto& h) {
         std::ranges::copy(h.Record(kProbe).subspan(4), h.Record(kProbe + 1).begin() + 4);
     })},
    {"value without a property", {"heap-item-unused?"}, InMessage([](auto& h) {
         StoreLE<std::uint32_t>(h.Record(kProbe), 4, 0);
     })},
    {"fill level", {"heap-fill-level?"}, InNode(0x2227, [](auto& h) { Add(h.Block(), 8, 5); }), false},
    {"BTH type", {"bth-header"}, InNode(0x2227, [](auto& h) { Add(h.BthHeader(), 0, 1); })},
    {"BTH root", {"bth-array"}, InNode(0x2227, [](auto& h) { StoreLE(h.BthHeader(), 4, 0xFFE0u); })},
    {"order of keys", {"bth-order"}, InMessage([](auto& h) {
         const auto first = h.Record(kProbe), second = h.Record(kProbe + 1);
         std::ranges::swap_ranges(first, second);
     })},
    {"sizes of a property context",
     {"property-record"},
     InNode(0x2227,
            [](auto& h) {
                h.BthHeader()[1] = std::byte{4};
                h.BthHeader()[2] = std::byte{4};
            })},
    {"Boolean of 2", {"property-inline?"}, InMessage([](auto& h) { Add(h.Record(kProbe + 3), 4, 1); })},
    {"unknown type", {"property-type"}, InMessage([](auto& h) { Add(h.Record(kProbe), 2, 0x55); })},
    {"dangling HID", {"value-missing"}, InMessage([](auto& h) { StoreLE(h.Record(kProbe), 4, 0x7FE0u); })},
    {"string of odd length", {"value-string"}, InMessage([](auto& h) {
         StoreLE<std::uint16_t>(h.Record(kProbe), 2, 0x1F);
     })},
    {"string with a terminator", {"value-terminator?"}, InMessage([](auto& h) {
         const auto text = h.Value(kProbe + 2);
         std::ranges::fill(text.last(2), std::byte{});
     })},
    {"time of ten bytes", {"value-size"}, InMessage([](auto& h) {
         StoreLE<std::uint16_t>(h.Record(kProbe + 1), 2, 0x40);
     })},
    {"numbers of four bytes in ten", {"value-multiple"}, InMessage([](auto& h) {
         StoreLE<std::uint16_t>(h.Record(kProbe + 1), 2, 0x1003);
     })},
    {"strings with wild offsets", {"value-multiple"}, InMessage([](auto& h) {
         StoreLE<std::uint16_t>(h.Record(kProbe + 1), 2, 0x101F);
     })},
    {"column's bit twice",
     {"table-info"},
     InNode(0x60F, [](auto& h) { h.Column(0x001A)[7] = h.Column(0x0E07)[7]; })},
    {"hidIndex", {"table-reserved?"}, InNode(0x60F, [](auto& h) { Add(h.Info(), 18, 0x20); })},
    {"matrix in no subnode", {"table-matrix"}, InNode(0x60F, [](auto& h) { StoreLE(h.Info(), 14, 0x3Fu); })},
    {"row number beyond the matrix",
     {"table-index"},
     InNode(kRootHierarchy, [](auto& h) { StoreLE<std::uint16_t>(h.RowIndex(), 4, 99); })},
    {"row under another id",
     {"table-row-id"},
     InNode(kRootHierarchy, [](auto& h) { Add(h.Row(0), 0, 0x20); })},
    {"row version not there",
     {"table-existence"},
     InNode(kRootHierarchy, [](auto& h) { Add(h.Existence(0), 0, -0x40); })},
    {"bits of no column",
     {"table-existence"},
     InNode(kReceiveFolders, [](auto& h) { Add(h.Existence(0), 0, 1); })},
    {"row version twice",
     {"table-row-version?"},
     InNode(kRootHierarchy,
            [](auto& h) { std::ranges::copy(h.Row(0).subspan(4, 4), h.Row(1).begin() + 4); })},
    {"row version beyond dwUnique",
     {"table-row-version?"},
     [](auto& p) { p.EditHeader([](auto& h) { h.unique = 3; }); }},
    {"cell's HID",
     {"value-missing"},
     [](CStorePatch& p) {
         EditHeap(p, FirstMessage(p), kRecipients, [](auto& h) { StoreLE(h.Cell(0, 0x3001), 0, 0x7FE0u); });
     }},
};

TEST(PlantedLtpFaults, EachBringsItsOwnFindingInEveryVariant)
{
    for (const Variant variant : {Variant::Unicode, Variant::Ansi, Variant::Unicode4k}) {
        const Bytes sound = StoreOf(variant, Plain());
        ASSERT_EQ(FindingsOf(sound), "");
        ExpectFound(sound, kStructureFaults);
    }
}

/// A table whose row index has a level above its arrays.
class LargeTable : public testing::Test {
protected:
    static constexpr std::size_t kRows = 600;

    LargeTable()
        : patch(StoreOf(Variant::Unicode, {}, kRows)), table(format::Nid{FolderOf(patch)}.Index() << 5 | 0x0E)
    {
    }

    static std::uint32_t FolderOf(const CStorePatch& patch)
    {
        return patch.Node(FirstMessage(patch)).nidParent;
    }

    std::uint64_t HeapBlock(std::size_t index) const
    {
        const Bytes tree = patch.Contents(patch.Node(table).bidData);
        return format::CDataTreeBlock::Parse(patch.Layout(), format::CByteView(tree))->ChildAt(index);
    }
    /// Changes the records of the array above the arrays of the row index.
    void EditIndex(const std::function<void(std::span<std::byte>)>& edit)
    {
        Bytes start = patch.Contents(HeapBlock(0));
        const CHeapPatch heap(start);
        const auto info = format::DecodeTableInfo(format::CByteView(heap.Info()));
        const auto root = LoadLE<std::uint32_t>(heap.Item(info->rowIndex), 4);
        patch.EditBlock(HeapBlock(root >> 16), [&](std::span<std::byte> bytes) {
            const auto block = format::CHeapBlockView::Parse(format::CByteView(bytes), root >> 16);
            const auto item = block->Item((root & 0xFFFF) >> 5);
            edit(bytes.subspan(static_cast<std::size_t>(item->Bytes().data() - bytes.data()), item->Size()));
        });
    }

    CStorePatch patch;
    std::uint32_t table;
};

TEST_F(LargeTable, SoundOneBringsNothing)
{
    EXPECT_EQ(FindingsOf(patch.Store()), "");
}

TEST_F(LargeTable, SeparatorHasToBeTheFirstKey)
{
    EditIndex([](std::span<std::byte> records) { Add(records, 8, -1); });
    EXPECT_EQ(CodesOf(patch.Store()), Codes{"bth-separator"}) << FindingsOf(patch.Store());
}

TEST_F(LargeTable, ArrayIsVisitedOnce)
{
    EditIndex(
        [](std::span<std::byte> records) { std::ranges::copy(records.subspan(4, 4), records.begin() + 12); });
    const Codes expected = {"bth-repeated", "table-index"};
    EXPECT_EQ(CodesOf(patch.Store()), expected) << FindingsOf(patch.Store());
}

}  // namespace
}  // namespace pastille::tests
