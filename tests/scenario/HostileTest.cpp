#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "format/Bytes.h"
#include "platform/Text.h"
#include "tests/scenario/HostileMails.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/StoreFamilies.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
namespace pid = format::pid;

constexpr std::uint32_t kInbox = 0x9002;
StoreMessage Victim()
{
    return Mail(u"Victim", u"Ada Brook", u"Text", FileTime(2020, 1, 1));
}

/// Repairs a store with a victim and with bystanders, who must come back whole.
void RepairAround(const Hostile& hostile, StoreDescription description)
{
    StoreMessage victim = Victim();
    hostile.make(description, victim);
    StoreMessage before = Mail(u"Before", u"Ben", u"Kept", FileTime(2020, 1, 1));
    StoreMessage after = Mail(u"After", u"Ben", u"Kept", FileTime(2020, 1, 1));
    before.attachments = after.attachments = {{.fileName = u"kept.bin", .data = Bytes(5000, std::byte{'k'})}};
    const FamilySample contact = MakeFamilySample(u"IPM.Contact");
    description.folders = {
        {.name = u"Inbox", .messages = {before, victim, after}, .nid = kInbox},
        {.name = u"Contacts", .containerClass = u"IPF.Contact", .messages = {contact.message}}};

    const long memory = PeakMemory();
    const auto start = std::chrono::steady_clock::now();
    const auto repair = RepairOf(description);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    EXPECT_LT(time.count(), 20.0);
    EXPECT_LT(PeakMemory() - memory, 400) << "MB";
    EXPECT_LT(std::filesystem::file_size(repair->state.outputPath), 40'000'000u);
    EXPECT_EQ(repair->Strangers(), std::vector<std::string>());

    std::vector<FoundItem> items = ReadNewStore(repair->state.outputPath);
    for (const char16_t* subject : {u"Before", u"After"}) {
        const FoundItem* const item = OfSubject(items, subject);
        EXPECT_NE(item, nullptr) << platform::ToUtf8(subject);
        if (item != nullptr && !item->attachments.empty()) {
            EXPECT_EQ(TextValue(item->values, pid::kBody), u"Kept");
            EXPECT_EQ(item->attachments[0].data, Bytes(5000, std::byte{'k'}));
        }
    }
    const auto contacts = OfClass(items, u"IPM.Contact");
    EXPECT_EQ(contacts.size(), 1u);
    for (const ExpectedValue& expected : contact.expected) {
        const FoundValue* const found =
            contacts.empty() || expected.id == 0 ? nullptr : FindValue(*contacts[0], expected.id);
        EXPECT_TRUE(expected.id == 0 || (found != nullptr && found->bytes == expected.value))
            << testing::PrintToString(expected);
    }
    EXPECT_TRUE(std::ranges::any_of(
        items, [](const FoundItem& item) { return TextValue(item.values, pid::kSubject) == u"Victim"; }));
}

class HostileMail : public testing::TestWithParam<Hostile> {};

TEST_P(HostileMail, CostsNothingOfOthers)
{
    for (const format::Variant variant : {format::Variant::Ansi, format::Variant::Unicode}) {
        StoreDescription description;
        description.format.variant = variant;
        RepairAround(GetParam(), std::move(description));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileMail, testing::ValuesIn(HostileMails()),
                         [](const testing::TestParamInfo<Hostile>& tested) {
                             return std::string(tested.param.name);
                         });

TEST(OddContent, FolderNamesAreNeverHostPaths)
{
    StoreDescription description;
    for (const std::u16string& name : OddNames()) {
        StoreFolder folder{.name = name, .containerClass = u"IPF.Note"};
        folder.messages = {Mail(u"In an odd folder", u"Ada", u"Text", FileTime(2020, 1, 1))};
        folder.messages.front().label = "in " + platform::ToUtf8(name);
        description.folders.push_back(folder);
    }
    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    EXPECT_EQ(repair.Strangers(), std::vector<std::string>());
    EXPECT_EQ(AllItems(repair.ReadBack()), AllItems(Expected(description)));
}

}  // namespace
}  // namespace pastille::tests
