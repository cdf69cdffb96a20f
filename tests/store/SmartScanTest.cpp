#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "format/Bytes.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::CryptMethod;
using format::Variant;

using Bids = std::set<std::uint64_t>;

/// A live mail, a contact that has nothing but its own block, and a mail that is going to be deleted; both
/// mails have attachments.
StoreDescription SmallStore(const StoreFormat& format)
{
    StoreDescription store;
    store.format = format;
    for (const char16_t* subject : {u"Live", u"Deleted"}) {
        StoreMessage mail = Mail(subject, u"Ada", u"Body", FileTime(2020, 1, 1));
        mail.attachments = {{.fileName = u"a.bin", .data = Bytes(3000, std::byte{'a'})}};
        store.messages.push_back(mail);
    }
    store.messages.push_back({.label = "Contact",
                              .messageClass = u"IPM.Contact",
                              .properties = {Text(format::pid::kMessageClass, u"IPM.Contact")},
                              .bare = true});
    return store;
}

/// Lets a node's entry name another node, so that nothing names its blocks.
void Delete(CBuiltStore& store, const std::string& name)
{
    store.Damage().SetNode(
        {store.Nid(name), store.Directory().Find("folder Top of Personal Folders/data").bid, 0, 0x122});
}

void DropTrailer(CBuiltStore& store, const std::string& name)
{
    const StorePlace& place = store.Directory().Find(name);
    const std::size_t size = format::LayoutOf(store.Format().variant).blockTrailerSize;
    store.Damage().Zero(place.offset + place.extent - size, size);
}

Bids DataOrphans(const CLoadedStore& loaded)
{
    Bids bids;
    for (const store::OrphanRecord& orphan : loaded.source.orphans) {
        EXPECT_NE(orphan.bidData == 0, orphan.bidSub == 0);
        if (orphan.bidData != 0) {
            EXPECT_TRUE(bids.insert(orphan.bidData).second) << "listed twice: " << orphan.bidData;
        }
    }
    return bids;
}

std::string Describe(const StoreFormat& format)
{
    return std::string(VariantName(format.variant)) + " crypt " +
           std::to_string(static_cast<int>(format.crypt)) + " packing " +
           std::to_string(static_cast<int>(format.packing)) + (format.encodeBeforePacking ? " inside" : "") +
           (format.ost ? " ost" : "");
}

std::vector<StoreFormat> AllFormats()
{
    std::vector<StoreFormat> formats;
    for (const Variant variant : kAllVariants) {
        for (const CryptMethod method : format::kCryptMethods) {
            for (const bool ost : {false, true}) {
                formats.push_back({.variant = variant, .ost = ost, .crypt = method});
                if (variant != Variant::Unicode4k)
                    continue;
                for (const bool encodeFirst : {false, true})
                    formats.push_back({.variant = variant,
                                       .ost = ost,
                                       .crypt = method,
                                       .packing = Packing::All,
                                       .encodeBeforePacking = encodeFirst});
            }
        }
    }
    return formats;
}

TEST(SmartScan, ListsWhatNoNodeRefersTo)
{
    for (const StoreFormat& format : AllFormats()) {
        SCOPED_TRACE(Describe(format));
        CBuiltStore store(SmallStore(format));
        Delete(store, "Deleted");
        const CLoadedStore loaded(store, true);
        ASSERT_FALSE(loaded.source.reader.IsMethodPending());
        ASSERT_EQ(loaded.source.reader.Method(), format.crypt);
        const Bids orphans = DataOrphans(loaded);
        EXPECT_TRUE(orphans.contains(store.Directory().Find("Deleted/data").bid));
        EXPECT_TRUE(orphans.contains(store.Directory().Find("Contact/data").bid))
            << "what has no subnodes is in no reference set";
        EXPECT_FALSE(orphans.contains(store.Directory().Find("Live/data").bid));
        const auto listsSubnodes = [&](const std::string& name) {
            return std::ranges::count(loaded.source.orphans, store.Directory().Find(name).bid,
                                      &store::OrphanRecord::bidSub);
        };
        if (format.variant != Variant::Unicode4k) {  // there they are packed
            EXPECT_EQ(listsSubnodes("Deleted/subnodes"), 1);
        }
        EXPECT_EQ(listsSubnodes("Live/subnodes"), 0);
        EXPECT_TRUE(CLoadedStore(store).source.orphans.empty()) << "a normal scan looks for none";
    }
}

TEST(SmartScan, OrphansAreFoundWithoutAnyTableAndWithoutTrailers)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        for (const bool keepTrailers : {true, false}) {
            CBuiltStore store(SmallStore({.variant = variant}));
            Delete(store, "Deleted");
            if (keepTrailers)
                store.Damage().Drop(PlaceKind::BbtLeaf);
            else
                DropTrailer(store, "Deleted/data");
            EXPECT_TRUE(
                DataOrphans(CLoadedStore(store, true)).contains(store.Directory().Find("Deleted/data").bid));
        }
    }
}

/// Every block behind the place where bytes were inserted has moved; nobody's signature fits any more.
TEST(SmartScan, BlocksThatMovedAreFound)
{
    constexpr std::size_t kInserted = 512;
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        const CBuiltStore store(SmallStore({.variant = variant}));
        const std::uint64_t place = store.Directory().Find("Deleted/data").offset;
        Bytes bytes = store.Content();
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(place), kInserted, std::byte{0x5A});
        const CLoadedStore normal(bytes), smart(bytes, true);
        std::size_t moved = 0;
        for (const StorePlace& block : store.Directory().places) {
            if (block.kind < PlaceKind::Data)
                continue;
            const auto bid = static_cast<std::uint32_t>(block.bid);
            const std::uint64_t now = block.offset + (block.offset >= place ? kInserted : 0);
            const auto found = smart.source.blocks.Find(bid);
            ASSERT_TRUE(found) << block.name;
            EXPECT_EQ(found->ib, now) << block.name;
            const auto before = normal.source.blocks.Find(bid);
            moved += now != block.offset && (!before || before->ib != now);
        }
        EXPECT_GT(moved, 10u) << "nothing would be left to find";
    }
}

TEST(SmartScan, TheMethodOfMostBlocksIsTaken)
{
    StoreDescription description = SmallStore({.crypt = CryptMethod::Cyclic});
    description.atStart = [](CStoreFile& file) {
        // As it is stored this block looks like a property context; it is the first one of the file.
        constexpr std::uint64_t kBid = 0x70004;
        Bytes decoy(200, std::byte{7});
        format::StoreLE(std::span(decoy), 2, std::uint16_t{0xBCEC});
        format::DecodeBlock(CryptMethod::Cyclic, kBid, decoy);
        file.WriteBlock(decoy, {.bid = kBid});
    };
    const CLoadedStore loaded(CBuiltStore(description), true);
    EXPECT_EQ(loaded.source.reader.Method(), CryptMethod::Cyclic);
}

TEST(SmartScan, ReferencesAreThoseOfNodesWithSubnodes)
{
    store::CNodeList nodes;
    nodes.AddPage(0x4800, 1);
    nodes.Append(0x21, 40, 42, 0);
    nodes.Append(0x61, 44, 0, 0);
    nodes.Append(0x122, 0, 46, 0);
    nodes.Finish();
    store::CReferenceSet references;
    references.Build(nodes);
    for (const auto& [bid, expected] : std::vector<std::pair<std::uint32_t, bool>>{
             {0, true}, {40, true}, {42, true}, {46, true}, {44, false}, {41, false}, {48, false}})
        EXPECT_EQ(references.Contains(bid), expected) << bid;
    references.Clear();
    EXPECT_FALSE(references.Contains(40));
}

}  // namespace
}  // namespace pastille::tests
