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

TEST(SmartScan, ListsWhatNoNodeRefersTo)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        const StoreFormat format{.variant = variant};
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

}  // namespace
}  // namespace pastille::tests
