#include <gtest/gtest.h>

#include "platform/Text.h"
#include "tests/scenario/Damages.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"
#include "tests/scenario/Samples.h"
#include "tests/support/OutsideReaders.h"

namespace pastille::tests {
namespace {

/// What an item shows, its files and what is attached to it included, as one text.
std::string Look(const FoundItem& item)
{
    namespace pid = format::pid;
    std::string look = item.folder;
    for (const std::uint16_t id : {pid::kMessageClass, pid::kSubject, pid::kSenderName, pid::kDisplayTo,
                                   pid::kClientSubmitTime, pid::kBody, pid::kHtml}) {
        const FoundValue* const value = FindValue(item, id);
        const char* const bytes = value == nullptr ? "" : reinterpret_cast<const char*>(value->bytes.data());
        look.append("|").append(bytes, value == nullptr ? 0 : value->bytes.size());
    }
    for (const FoundAttachment& attachment : item.attachments) {
        look.append("|").append(reinterpret_cast<const char*>(attachment.data.data()),
                                attachment.data.size());
        for (const FoundItem& inner : attachment.embedded)
            look += Look(inner);
    }
    return look;
}

std::string Name(const FoundItem& item)
{
    return item.folder + " '" + platform::ToUtf8(TextValue(item.values, format::pid::kSubject)) + "'";
}

using Looks = std::multimap<std::string, std::string>;  ///< names by look

Looks LooksOf(const std::vector<FoundItem>& items)
{
    Looks looks;
    for (const FoundItem& item : items)
        looks.emplace(Look(item), Name(item));
    return looks;
}

/// Every item of `expected` must be in `found`.
void ExpectAll(const Looks& found, const Looks& expected)
{
    for (auto at = expected.begin(); at != expected.end(); at = expected.upper_bound(at->first))
        EXPECT_GE(found.count(at->first), expected.count(at->first)) << "lost: " << at->second;
}

std::vector<FoundItem> Recovered(CRepair& repair)
{
    repair.Run();
    EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    return repair.state.failed ? std::vector<FoundItem>() : ReadNewStore(repair.state.outputPath);
}

std::vector<FoundItem> RecoveredFrom(const CBuiltStore& store, const std::string& name, bool smartScan)
{
    CRepair repair(store.Content(), name);
    repair.settings.smartScan = smartScan;
    return Recovered(repair);
}

class DamagedSamples : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        if (!SampleCopy(GetParam()))
            GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    }
};

TEST_P(DamagedSamples, TreesAndHeaderAreNotMissed)
{
    const auto sound = SampleCopy(GetParam());
    const std::vector<FoundItem> expected = RecoveredFrom(*sound, GetParam(), false);
    auto damaged = SampleCopy(GetParam());
    damaged->Damage()
        .ZeroHeaderButMagic()
        .Drop(PlaceKind::NbtIndex)
        .Drop(PlaceKind::BbtIndex)
        .BreakSignatures(PlaceKind::NbtLeaf);
    ExpectAll(LooksOf(RecoveredFrom(*damaged, GetParam(), false)), LooksOf(expected));
    // Trailers stand in old pages, too, of which newer blocks have left nothing but the end.
    damaged = SampleCopy(GetParam());
    damaged->Damage().Drop(PlaceKind::BbtLeaf).Drop(PlaceKind::BbtIndex);
    ExpectAll(LooksOf(RecoveredFrom(*damaged, GetParam(), false)), LooksOf(expected));
}

TEST_P(DamagedSamples, AtLeastTheMailsOfAnotherReaderComeBack)
{
    bool smartScan = false;
    for (const Damage& damage : kDamages) {
        if (damage.cost == Cost::Nothing)
            continue;
        smartScan = !smartScan;
        SCOPED_TRACE(std::string(damage.name) + (smartScan ? ", Smart Scan" : ""));
        auto sample = SampleCopy(GetParam());
        damage.apply(sample->Damage(), sample->Content().size());
        CRepair repair(sample->Content(), GetParam());
        repair.settings.smartScan = smartScan;
        const std::vector<FoundItem> found = Recovered(repair);
        const auto others = CountWithReadpst(repair.settings.sourcePath);
        const auto ours = CountWithReadpst(repair.state.outputPath);
        EXPECT_GE(found.size(), others ? others->messages : 0);
        if (others) {
            EXPECT_GE(ours ? ours->messages : 0, others->messages);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, DamagedSamples,
                         testing::Values("outlook.pst", "mailbox.ost", "mailbox-4k.ost", "sample2.pst"),
                         [](const auto& tested) {
                             std::string name = tested.param;
                             std::erase_if(name, [](unsigned char byte) { return std::isalnum(byte) == 0; });
                             return name;
                         });

/// Both were made from the other's live items: old pages of the tree are in none of the larger pages, and
/// what was deleted lies elsewhere.
TEST(Samples, OtherPagesAndEncodingsHoldTheSameItems)
{
    for (const auto& [one, other] :
         {std::pair("mailbox.ost", "mailbox-4k.ost"), {"outlook.pst", "outlook-cyclic.pst"}}) {
        auto first = SampleCopy(one);
        const auto second = SampleCopy(other);
        if (!first || !second)
            GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
        const bool isLarge = second->Format().variant == format::Variant::Unicode4k;
        if (isLarge)
            first->Damage().DropOldNodePages();
        for (const bool smartScan : {false, true}) {
            SCOPED_TRACE(std::string(other) + (smartScan ? ", Smart Scan" : ""));
            auto these = RecoveredFrom(*first, one, smartScan),
                 those = RecoveredFrom(*second, other, smartScan);
            const auto wasDeleted = [](const FoundItem& item) { return item.folder == "/Orphaned Mails"; };
            if (isLarge) {
                std::erase_if(these, wasDeleted);
                std::erase_if(those, wasDeleted);
            }
            EXPECT_EQ(these.size(), those.size());
            ExpectAll(LooksOf(these), LooksOf(those));
            ExpectAll(LooksOf(those), LooksOf(these));
        }
    }
}

/// Subjects of mails in these files that no page names any more.
TEST(Samples, SmartScanFindsDeletedMails)
{
    for (const auto& [name, subject] :
         {std::pair("mailbox.ost", u"message 3935"), {"outlook.pst", u"message 1"}}) {
        SCOPED_TRACE(name);
        const auto sample = SampleCopy(name);
        if (!sample)
            GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
        std::size_t orphaned = 0;
        for (const FoundItem& item : RecoveredFrom(*sample, name, true)) {
            orphaned += item.folder == "/Orphaned Mails" &&
                        TextValue(item.values, format::pid::kSubject).ends_with(subject);
        }
        EXPECT_GE(orphaned, 1u);
    }
}

}  // namespace
}  // namespace pastille::tests
