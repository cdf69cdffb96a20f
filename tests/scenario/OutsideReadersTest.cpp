#include "tests/support/OutsideReaders.h"

#include <gtest/gtest.h>

#include "platform/Text.h"
#include "tests/scenario/Repair.h"
#include "tests/support/StoreFamilies.h"

namespace pastille::tests {
namespace {

/// Other readers of the format must find in a built store what its description says, or the tests that build
/// on such stores show nothing.
TEST(OutsideReaders, ReadBuiltStoresAsDescribed)
{
    for (const format::Variant variant : kAllVariants) {
        StoreDescription description;
        description.format = FormatOf(variant);
        StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
        for (unsigned i = 0; i < 40; ++i)
            inbox.messages.push_back(
                Mail(u"Mail", u"Ada", std::u16string(i * 9, u'b'), FileTime(2020, 1, 1)));
        StoreFolder sub{.name = u"Sub"};
        sub.messages = {Mail(u"Below", u"Ada", u"Text", FileTime(2020, 1, 1))};
        sub.messages[0].attachments = {{.fileName = u"a.bin", .data = Bytes(100'000, std::byte{'a'})}};
        inbox.folders = {sub};
        description.folders = {inbox};
        const CTemporaryFolder folder;
        CBuiltStore(description).WriteTo(folder / "built.pst");
        const auto mails = CountWithReadpst(folder / "built.pst");
        const auto items = ReadItemsWithPffexport(folder / "built.pst", {.values = false});
        if (!mails || !items)
            GTEST_SKIP() << "readpst and pffexport are not installed";
        EXPECT_EQ(mails->messages, 41u);
        EXPECT_EQ(mails->perFolder.at("Inbox"), 40u);
        EXPECT_EQ(items->size(), 41u);
    }
}

TEST(OutsideReaders, ReadWhatARepairWrote)
{
    StoreDescription description;
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    for (unsigned i = 0; i < 30; ++i)
        inbox.messages.push_back(
            Mail(u"Mail", u"Ada", std::u16string(i * 200, u'b'), FileTime(2020, 1, 1 + i)));
    inbox.messages[2].attachments = {{.fileName = u"a.bin", .data = Bytes(100'000, std::byte{'a'})}};
    description.folders = {inbox};
    CBuiltStore store(description);
    store.Damage().ZeroHeaderButMagic().Drop(PlaceKind::NbtIndex);
    CRepair repair(store.Content());
    repair.Run();
    const auto mails = CountWithReadpst(repair.state.outputPath);
    const auto items = ReadItemsWithPffexport(repair.state.outputPath, {.values = false});
    if (!mails || !items)
        GTEST_SKIP() << "readpst and pffexport are not installed";
    EXPECT_EQ(mails->messages, 30u);
    EXPECT_EQ(items->size(), 30u);
}

}  // namespace
}  // namespace pastille::tests
