#include <gtest/gtest.h>

#include <algorithm>

#include "format/Ids.h"
#include "format/NameId.h"
#include "tests/check/CheckSupport.h"
#include "tests/check/HeapPatch.h"

namespace pastille::tests {
namespace {

using format::LoadLE;
using format::StoreLE;
namespace pid = format::pid;

constexpr std::uint32_t kStore = 0x21;
constexpr std::uint32_t kNames = 0x61;
constexpr std::uint32_t kRoot = 0x122;
constexpr std::uint32_t kAttachmentTable = 0x671;
constexpr std::uint32_t kRecipientTable = 0x692;

// What the sound store holds: one folder with one mail, by which these are known.
constexpr std::uint32_t kFolder = 0x8082;
constexpr std::uint32_t kContents = 0x808E;
constexpr std::uint32_t kMail = 0x200024;
constexpr std::uint32_t kFile = 0x8025;
constexpr std::uint32_t kInner = 0x8045;

/// A mail with a recipient, a named property, an attached file and a message in it.
StoreDescription Describe()
{
    StoreDescription description;
    AddLateNodes(description);
    StoreMessage mail = Mail(u"Outer", u"Ada Brook", u"Text", FileTime(2020, 1, 2));
    mail.label = "mail";
    mail.recipients = {{u"Jonas Kern", u"jonas@example.com", 1}};
    mail.named = {{{format::propset::kCommon, format::lid::kFlagRequest, {}}, Text(0, u"soon")}};
    mail.attachments = {
        {.fileName = u"a.txt", .data = Bytes(100, std::byte{1})},
        {.method = 5,
         .embedded = std::make_shared<StoreMessage>(Mail(u"Inner", u"Ada", u"Text", FileTime(2020, 1, 1)))}};
    description.folders = {{.name = u"Folder", .messages = {mail}}};
    return description;
}

struct DescribedFault {
    const char* name;
    Codes expected;
    std::function<void(StoreDescription&)> plant;
};

std::function<void(StoreDescription&)> InMail(std::function<void(StoreMessage&)> edit)
{
    return [edit](StoreDescription& description) { edit(description.folders[0].messages[0]); };
}

std::function<void(StoreDescription&)> InNames(std::function<void(NameStreams&)> edit)
{
    return [edit](StoreDescription& description) { description.editNames = edit; };
}

const std::vector<DescribedFault> kDescribedFaults = {
    {"id without a name", {"property-name?"}, InMail([](auto& m) {
         m.properties.push_back(Number(0xF000, 1));
     })},
    {"GUID that is not there", {"name-entry"}, InNames([](auto& s) { s.entries[4] = std::byte{100}; })},
    {"half an entry", {"name-stream"}, InNames([](auto& s) { s.entries.resize(s.entries.size() + 4); })},
    {"entry that no bucket knows", {"name-bucket-missing", "name-bucket-stray"}, InNames([](auto& s) {
         s.entries[0] ^= std::byte{1};
     })},
    {"folder below another than the one that lists it",
     {"folder-row-missing", "folder-row-stray", "folder-subfolders"},
     [](auto& d) {
         d.folders[0].folders = {{.name = u"Low", .parent = 0x8062}, {.name = u"Other"}};
     }},
    {"message in another folder than the one that lists it",
     {"message-row-missing", "message-row-stray"},
     InMail([](auto& m) { m.parent = 0x8062; })},
    {"message in no folder", {"message-parent"}, InMail([](auto& m) { m.parent = 0x61; })},
    {"associated flag", {"message-associated"}, InMail([](auto& m) { m.flags = 0x41; })},
    {"attachment flag without attachment", {"message-attach-flag"}, InMail([](auto& m) {
         m.attachments.clear();
         m.flags = 0x11;
     })},
    {"compressed text that is none", {"message-rtf?"}, InMail([](auto& m) {
         m.properties.push_back(Binary(pid::kRtfCompressed, "no compressed text"));
     })},
    {"OLE object that is bytes", {"attachment-data"}, InMail([](auto& m) { m.attachments[0].method = 6; })},
    {"attachment without rendering position",
     {"attachment-property", "attachment-size?"},
     InMail([](auto& m) { m.attachments[0].omitted = {pid::kRenderingPosition}; })},
    {"size that is no sum", {"attachment-size?"}, InMail([](auto& m) {
         m.attachments[0].properties = {Number(pid::kAttachSize, 3)};
     })},
    {"subnode that nothing needs", {"subnode-unused?"}, InMail([](auto& m) {
         m.subnodes.push_back({0x3F, 0, 0});
     })},
    {"subnode for a value without bytes", {"value-empty?"}, InMail([](auto& m) {
         m.subnodes.push_back({0x3F, 0, 0});
         m.properties.push_back(Behind(0x6F01, format::PropertyType::Binary, 0x3F));
     })},
    {"messages in one another, deeper than anybody looks", {"message-nesting?"}, InMail([](auto& m) {
         for (int i = 0; i < 200; ++i)
             m.attachments = {{.method = 5, .embedded = std::make_shared<StoreMessage>(m)}};
     })},
    {"embedded message of two attachments", {"tree-shared?"}, InMail([](auto& m) {
         m.attachments[1].shareEmbedded = true;
         m.attachments.push_back(m.attachments[1]);
     })},
};

TEST(PlantedMessagingFaults, InWhatIsWrittenEachBringsItsOwnFinding)
{
    for (const DescribedFault& fault : kDescribedFaults) {
        StoreDescription description = Describe();
        fault.plant(description);
        const CBuiltStore store(description);
        EXPECT_EQ(CodesOf(store.Content()), fault.expected) << fault.name << "\n"
                                                            << FindingsOf(store.Content());
    }
}

std::function<void(CStorePatch&)> InSubnode(std::uint32_t subnode, HeapEdit edit)
{
    return [subnode, edit](CStorePatch& patch) { EditHeap(patch, kMail, subnode, edit); };
}

void FlipByte(std::span<std::byte> bytes, std::size_t offset, unsigned mask)
{
    bytes[offset] ^= static_cast<std::byte>(mask);
}

// Edits of a heap: of a property's record, of its value, of a cell in the first row, of a text behind one.

HeapEdit FlipRecord(std::uint16_t id, std::size_t offset, unsigned mask)
{
    return [=](const CHeapPatch& heap) { FlipByte(heap.Record(id), offset, mask); };
}

HeapEdit FlipValue(std::uint16_t id, std::size_t offset, unsigned mask)
{
    return [=](const CHeapPatch& heap) { FlipByte(heap.Value(id), offset, mask); };
}

HeapEdit FlipCell(std::uint16_t id, unsigned mask)
{
    return [=](const CHeapPatch& heap) { FlipByte(heap.Cell(0, id), 0, mask); };
}

HeapEdit FlipText(std::uint16_t id)
{
    return [=](const CHeapPatch& heap) {
        FlipByte(heap.Item(LoadLE<std::uint32_t>(heap.Cell(0, id), 0)), 0, 1);
    };
}

HeapEdit RenameRecord(std::uint16_t from, std::uint16_t to)
{
    return [=](const CHeapPatch& heap) { StoreLE(heap.Record(from), 0, to); };
}

HeapEdit RenameColumn(std::uint16_t from, std::uint16_t to)
{
    return [=](const CHeapPatch& heap) { StoreLE(heap.Column(from), 2, to); };
}

/// Gives a node another id; only for one that stays between its neighbours.
std::function<void(CStorePatch&)> Renumber(std::uint32_t from, std::uint32_t to)
{
    return [from, to](CStorePatch& patch) {
        patch.EditHeader([to](auto& header) { header.lastNodeIndex[to & 31] = 0xFFFF; });
        patch.EditNode(from, [to](auto& node) { node.nid = to; });
    };
}

/// Gives a subnode of the mail another id between its neighbours.
std::function<void(CStorePatch&)> RenumberSubnode(std::uint32_t from, std::uint32_t to)
{
    return [from, to](CStorePatch& patch) {
        patch.EditHeader([to](auto& header) { header.lastNodeIndex[to & 31] = 0xFFFF; });
        patch.EditBlock(patch.Node(kMail).bidSub, [&](std::span<std::byte> block) {
            for (std::size_t at = 8; at < block.size(); at += 24)
                if (LoadLE<std::uint32_t>(block, at) == from)
                    StoreLE(block, at, to);
        });
    };
}

const std::vector<PlantedFault> kStoreFaults = {
    {"no receive folder table", {"node-missing"}, Renumber(0x62B, 0x62C)},
    {"no replication table", {"node-missing-lately?"}, Renumber(0x6B6, 0x6B7)},
    {"parent of a table",
     {"node-parent?"},
     [](auto& p) { p.EditNode(0x60D, [](auto& n) { n.nidParent = kRoot; }); }},
    {"template without a column", {"table-column"}, InNode(0x60D, RenameColumn(0x3613, 0x3614))},
    {"template without a column of today",
     {"table-column-lately?"},
     InNode(0x60E, RenameColumn(0x3013, 0x3014))},
    {"template with rows",
     {"folder-row-missing", "template-rows"},
     [](auto& p) {
         const auto filled = p.Node(kRootHierarchy).bidData, empty = p.Node(0x60D).bidData;
         p.EditNode(kRootHierarchy, [&](auto& n) { n.bidData = empty; });
         p.EditNode(0x60D, [&](auto& n) { n.bidData = filled; });
     }},
    {"receive folder that is none",
     {"receive-folder"},
     InNode(0x62B, [](auto& h) { StoreLE(h.Cell(0, 0x6605), 0, 0x9992u); })},
    {"search folder that is none",
     {"search-list?"},
     [](auto& p) { p.EditBlock(p.Node(0x201).bidData, [](auto bytes) { FlipByte(bytes, 1, 0x80); }); }},
    {"no wastebasket", {"store-property"}, InNode(kStore, RenameRecord(0x35E3, 0x35E4))},
    {"wastebasket of another store", {"store-entry-id"}, InNode(kStore, FlipValue(0x35E3, 7, 1))},
    {"wastebasket that is no folder", {"store-entry-id"}, InNode(kStore, FlipValue(0x35E3, 21, 1))},
    {"password", {"store-password?"}, InNode(kStore, FlipRecord(0x67FF, 4, 1))},
    {"bucket count", {"name-bucket-count"}, InNode(kNames, FlipRecord(1, 4, 1))},
    {"bucket that nobody looks into",
     {"name-bucket-missing"},
     InNode(kNames, [](auto& h) { StoreLE(h.Records().last(8), 0, std::uint16_t{0x2000}); })},
    {"entry in the wrong bucket",
     {"name-bucket-missing", "name-bucket-stray"},
     InNode(kNames,
            [](auto& h) {
                const auto last = h.Records().last(8);
                StoreLE(last, 0, static_cast<std::uint16_t>(LoadLE<std::uint16_t>(last, 0) + 1));
            })},
};

const std::vector<PlantedFault> kFolderFaults = {
    {"no table of associated messages",
     {"folder-node", "node-orphan?"},
     Renumber(kFolder + 13, kFolder + 14)},
    {"parent that is no folder",
     {"folder-parent"},
     [](auto& p) { p.EditNode(kFolder, [](auto& n) { n.nidParent = 0x61; }); }},
    {"folder in itself",
     {"folder-cycle"},
     [](auto& p) { p.EditNode(kFolder, [](auto& n) { n.nidParent = kFolder; }); }},
    {"no unread count", {"folder-property"}, InNode(kRoot, RenameRecord(0x3603, 0x3604))},
    {"count of messages", {"folder-count"}, InNode(kRoot, FlipRecord(0x3602, 4, 3))},
    {"count of unread messages", {"folder-count"}, InNode(kRoot, FlipRecord(0x3603, 4, 3))},
    {"has sub-folders", {"folder-subfolders"}, InNode(kRoot, FlipRecord(0x360A, 4, 1))},
    {"count of found messages",
     {"folder-row-different", "search-count?"},
     InNode(0x2223, FlipRecord(0x3602, 4, 3))},
    {"count in the row", {"folder-row-different"}, InNode(kRootHierarchy, FlipCell(0x3602, 3))},
    {"name in the row", {"folder-row-different"}, InNode(kRootHierarchy, FlipText(0x3001))},
    {"flags in the row", {"message-row-different"}, InNode(kContents, FlipCell(0x0E07, 8))},
    {"subject in the row", {"message-row-different"}, InNode(kContents, FlipText(0x0037))},
    {"size in the row", {"message-row-stale?"}, InNode(kContents, FlipCell(0x0E08, 8))},
};

const std::vector<PlantedFault> kMessageFaults = {
    {"no creation time", {"message-property"}, InNode(kMail, RenameRecord(0x3007, 0x3006))},
    {"no search key", {"message-search-key?"}, InNode(kMail, RenameRecord(0x300B, 0x300A))},
    {"no recipient table", {"recipient-table?", "subnode-unused?"}, RenumberSubnode(kRecipientTable, 0x693)},
    {"no recipient type",
     {"recipient-type"},
     InSubnode(kRecipientTable,
               [](auto& h) {
                   const auto bit = static_cast<unsigned>(h.Column(0x0C15)[7]);
                   FlipByte(h.Existence(0), bit / 8, 0x80u >> (bit % 8));
               })},
    {"no attachment table",
     {"attachment-row-missing", "subnode-unused?"},
     RenumberSubnode(kAttachmentTable, 0x673)},
    {"row of no attachment",
     {"attachment-row-missing", "attachment-row-stray"},
     InSubnode(kAttachmentTable,
               [](auto& h) {
                   FlipByte(h.Row(1), 1, 1);
                   FlipByte(h.RowIndex().subspan(8), 1, 1);
               })},
    {"method in the row", {"attachment-row-different"}, InSubnode(kAttachmentTable, FlipCell(0x3705, 8))},
    {"object in no subnode", {"value-object"}, InSubnode(kInner, FlipValue(0x3701, 1, 1))},
    {"size of the embedded message",
     {"attachment-size?", "embedded-size?"},
     InSubnode(kInner, FlipValue(0x3701, 4, 1))},
    {"attachment without a method",
     {"attachment-property", "attachment-row-different"},
     InSubnode(kFile, RenameRecord(0x3705, 0x3706))},
};

TEST(PlantedMessagingFaults, InASoundStoreEachBringsItsOwnFinding)
{
    const Bytes sound = CBuiltStore(Describe()).Content();
    ASSERT_EQ(FindingsOf(sound), "");
    for (const auto& faults : {kStoreFaults, kFolderFaults, kMessageFaults})
        ExpectFound(sound, faults);
}

}  // namespace
}  // namespace pastille::tests
