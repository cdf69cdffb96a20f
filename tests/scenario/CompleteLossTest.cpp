#include <gtest/gtest.h>

#include <algorithm>

#include "platform/Text.h"
#include "tests/scenario/CompleteRun.h"
#include "tests/scenario/NumberedMails.h"
#include "tests/support/WholeCompare.h"

namespace pastille::tests {
namespace {

using format::Variant;
using nlohmann::json;
namespace pid = format::pid;

class CompleteLosses : public testing::TestWithParam<Variant> {
protected:
    /// The copy, its damage done.
    std::unique_ptr<CCompleteRun> RunDamaged(const std::function<void(CStoreDamage&)>& apply,
                                             bool smartScan = false) const
    {
        CMemoryFile file(sound.Content());
        CStoreDamage damage(file, sound.Directory(), sound.Format());
        apply(damage);
        return std::make_unique<CCompleteRun>(file.Content(), CompleteOptions{.smartScan = smartScan});
    }

    static constexpr std::size_t kLast = ~std::size_t{0};

    /// Of several blocks of one name.
    StorePlace BlockOf(const std::string& name, std::size_t number) const
    {
        std::vector<StorePlace> blocks;
        std::ranges::copy_if(sound.Directory().places, std::back_inserter(blocks),
                             [&](const StorePlace& place) { return place.name.starts_with(name); });
        return number == kLast ? blocks.back() : blocks.at(number);
    }

    /// The item, its only loss told so; nullptr when it is not there.
    const WholeMessage* Item(const CCompleteRun& run, std::uint32_t number, const std::string& what) const
    {
        const auto losses = run.LossesOf(sound.Nid(LabelOf(number)), platform::ToUtf8(SubjectOf(number)));
        EXPECT_FALSE(losses.empty());
        for (const json& loss : losses)
            EXPECT_TRUE((loss["what"] == what || (number == kLongHeap && loss["what"] == "properties")) &&
                        loss["why"] == "block-damaged")
                << loss;
        EXPECT_EQ(run.Report()["total"]["expected"], kItems);
        EXPECT_EQ(run.Report()["total"]["partial"], 1);
        EXPECT_EQ(run.Report()["total"]["lost"], 0);
        const auto items = run.ItemsOf(SubjectOf(number));
        EXPECT_EQ(items.size(), 1u);
        return items.empty() ? nullptr : items.front();
    }

    const CBuiltStore& sound = NumberedMails(GetParam());
};

TEST_P(CompleteLosses, AnAttachmentKeepsItsSizeAroundAHole)
{
    const StorePlace hole = BlockOf(LabelOf(kLarge) + "/attachment 2/value/data", 1);
    const auto run = RunDamaged([&](CStoreDamage& damage) { damage.Zero(hole.offset, hole.extent); });
    const WholeMessage* const item = Item(*run, kLarge, "attachment-content");
    ASSERT_TRUE(item != nullptr && item->attachments.size() == 3);
    const WholeObject& attachment = item->attachments[2].properties;
    EXPECT_EQ(TextOf(attachment, pid::kAttachLongFilename), u"large (incomplete).bin");
    const bool isPacked = GetParam() == Variant::Unicode4k;
    const std::size_t block = isPacked ? 65'000 : hole.stored;  // where the builder cuts what it packs
    Bytes expected = FixedBytes(kLarge, 150'000);
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(block), block, std::byte{0});
    EXPECT_TRUE(attachment.at(pid::kAttachDataBinary).bytes == expected);
    EXPECT_EQ(run->LossesOf("attachment-content").front()["name"], "large.bin");
}

TEST_P(CompleteLosses, AnItemComesWithoutItsBody)
{
    const auto run = RunDamaged([](CStoreDamage& d) { d.Drop(LabelOf(kBodyInSubnode) + "/value/data"); });
    const WholeMessage* const item = Item(*run, kBodyInSubnode, "property");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(TextOf(item->properties, pid::kBody), u"");
    EXPECT_EQ(item->recipients.size(), 2u);
    EXPECT_EQ(run->LossesOf("property").front()["property"].get<std::string>().substr(0, 6), "0x1000");
}

/// What lies in the other blocks is there, with the exact bytes.
TEST_P(CompleteLosses, AHeapComesWithoutOneOfItsBlocks)
{
    const StorePlace block = BlockOf(LabelOf(kLongHeap) + "/data", 1);
    const auto run = RunDamaged([&](CStoreDamage& damage) { damage.Zero(block.offset, block.extent); });
    const WholeMessage* const item = Item(*run, kLongHeap, "property");
    ASSERT_NE(item, nullptr);
    std::size_t kept = 0;
    for (std::uint16_t i = 0; i < 24; ++i) {
        const auto value =
            item->properties.find(format::PropertyName{format::propset::kCommon, 0x9000u + i, {}});
        kept += value != item->properties.end();
        EXPECT_TRUE(value == item->properties.end() || value->second.bytes == FixedBytes(i, 3500));
    }
    EXPECT_GT(kept, 0u);
    EXPECT_LT(kept, 24u);
    EXPECT_EQ(run->LossesOf("property").size(), 24 - kept);
    EXPECT_EQ(TextOf(item->properties, pid::kBody), u"Text of " + SubjectOf(kLongHeap));
}

TEST_P(CompleteLosses, AnItemComesWithoutItsRecipients)
{
    const auto run = RunDamaged([](CStoreDamage& d) { d.Drop(LabelOf(2) + "/recipients/data"); });
    const WholeMessage* const item = Item(*run, 2, "recipients");
    ASSERT_NE(item, nullptr);
    EXPECT_TRUE(item->recipients.empty());
    EXPECT_EQ(TextOf(item->properties, pid::kBody), u"Text of " + SubjectOf(2));
}

TEST_P(CompleteLosses, AFolderHasItsNameFromItsParentsTable)
{
    const auto run = RunDamaged([](CStoreDamage& d) { d.Drop("folder Inbox/data"); });
    WholeStore copy = run->Store();
    copy.folders.at("/Inbox").properties = ItemsOfNumberedMails(GetParam()).folders.at("/Inbox").properties;
    EXPECT_EQ(Joined(Differences(ItemsOfNumberedMails(GetParam()), copy)), "");
    ASSERT_EQ(run->LossesOf("folder").size(), 1u);
    EXPECT_EQ(run->LossesOf("folder")[0]["folder"], "\\Inbox");
    EXPECT_EQ(run->LossesOf("folder")[0]["why"], "block-damaged");
}

TEST_P(CompleteLosses, TheNewestVersionWinsAndTheOlderOneStandsInForIt)
{
    for (const bool smartScan : {false, true}) {
        const auto sane = RunDamaged([](CStoreDamage&) {}, smartScan);
        ASSERT_EQ(sane->ItemsOf(SubjectOf(kSuperseded)).size(), 1u);
        EXPECT_EQ(TextOf(sane->ItemsOf(SubjectOf(kSuperseded))[0]->properties, pid::kBody),
                  u"Text of " + SubjectOf(kSuperseded));
        EXPECT_TRUE(sane->Report()["losses"].empty()) << sane->Report()["losses"];
        EXPECT_EQ(sane->Report()["damagedNodePages"], 0);
        for (const auto& [lost, number] : {std::pair("/data", std::size_t{0}), std::pair("/data", kLast),
                                           std::pair("/value/data", std::size_t{0})}) {
            SCOPED_TRACE(lost + std::to_string(number));
            const StorePlace block = BlockOf(LabelOf(kSuperseded) + lost, number);
            const auto run =
                RunDamaged([&](CStoreDamage& d) { d.Zero(block.offset, block.extent); }, smartScan);
            std::string folder;
            const auto items = run->ItemsOf(SubjectOf(kSuperseded), &folder);
            ASSERT_EQ(items.size(), 1u);
            EXPECT_EQ(folder, "/Inbox");
            // Its subject, by which it was found, is what the last block had.
            EXPECT_EQ(TextOf(items[0]->properties, pid::kBody),
                      number == kLast ? u"Text of " + SubjectOf(kSuperseded) : u"Before");
            EXPECT_EQ(items[0]->recipients.size(), 2u);
            EXPECT_FALSE(run->LossesOf("older-version").empty());
            EXPECT_EQ(run->Report()["total"]["partial"], 1);
        }
    }
}

TEST_P(CompleteLosses, DeletedItemsComeWithSmartScanIntoTheirOwnFolder)
{
    const auto plain = RunDamaged([](CStoreDamage&) {});
    EXPECT_TRUE(plain->ItemsOf(SubjectOf(kDeleted)).empty());
    EXPECT_EQ(Joined(Differences(ItemsOfNumberedMails(GetParam()), plain->Store())), "");
    const auto smart = RunDamaged([](CStoreDamage&) {}, true);
    std::string folder;
    const auto items = smart->ItemsOf(SubjectOf(kDeleted), &folder);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(folder, "/Orphaned Mails/Deleted versions");
    EXPECT_EQ(TextOf(items[0]->properties, pid::kBody), u"Text of " + SubjectOf(kDeleted));
    EXPECT_EQ(items[0]->recipients.size(), 2u);
    WholeStore rest = smart->Store();
    rest.folders.at(folder).items.clear();
    EXPECT_EQ(Joined(Differences(ItemsOfNumberedMails(GetParam()), rest)), "");
}

INSTANTIATE_TEST_SUITE_P(Variants, CompleteLosses, testing::ValuesIn(kAllVariants), NameOfVariant);

}  // namespace
}  // namespace pastille::tests
