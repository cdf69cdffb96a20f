#include <gtest/gtest.h>

#include "tests/scenario/Damages.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/Samples.h"

namespace pastille::tests {
namespace {

/// Every item of `expected` must be in `found`.
void ExpectAll(SeenStore found, const SeenStore& expected)
{
    for (const auto& [path, items] : expected) {
        std::vector<std::string> lost;
        std::ranges::set_difference(items, found[path], std::back_inserter(lost));
        EXPECT_TRUE(lost.empty()) << path << " has lost " << testing::PrintToString(lost);
    }
}

std::vector<FoundItem> Recovered(CRepair& repair)
{
    repair.Run();
    EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    return repair.state.failed ? std::vector<FoundItem>() : ReadNewStore(repair.state.outputPath);
}

SeenStore RecoveredFrom(const CBuiltStore& store, const std::string& name, bool smartScan = false)
{
    CRepair repair(store.Content(), name);
    repair.settings.smartScan = smartScan;
    return SeenIn(Recovered(repair));
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
    const SeenStore expected = RecoveredFrom(*sound, GetParam());
    auto damaged = SampleCopy(GetParam());
    damaged->Damage()
        .ZeroHeaderButMagic()
        .Drop(PlaceKind::NbtIndex)
        .Drop(PlaceKind::BbtIndex)
        .BreakSignatures(PlaceKind::NbtLeaf);
    ExpectAll(RecoveredFrom(*damaged, GetParam()), expected);
    // Trailers stand in old pages, too, of which newer blocks have left nothing but the end.
    damaged = SampleCopy(GetParam());
    damaged->Damage().Drop(PlaceKind::BbtLeaf).Drop(PlaceKind::BbtIndex);
    ExpectAll(RecoveredFrom(*damaged, GetParam()), expected);
}

TEST_P(DamagedSamples, AtLeastTheMailsOfAnotherReaderComeBack)
{
    // The files take turns.
    std::size_t turn = std::string_view(GetParam()).size();
    for (const Damage& damage : kDamages) {
        if (damage.cost == Cost::Nothing || ++turn % 2 == 0)
            continue;
        const bool smartScan = turn % 4 == 1;
        SCOPED_TRACE(std::string(damage.name) + (smartScan ? ", Smart Scan" : ""));
        auto sample = SampleCopy(GetParam());
        damage.apply(sample->Damage(), sample->Content().size());
        CRepair repair(sample->Content(), GetParam());
        repair.settings.smartScan = smartScan;
        const std::vector<FoundItem> found = Recovered(repair);
        const auto others = CountWithReadpst(repair.settings.sourcePath, OfStore::MayBeDamaged);
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
        SCOPED_TRACE(other);
        const bool smartScan = !isLarge;
        const auto these = RecoveredFrom(*first, one, smartScan),
                   those = RecoveredFrom(*second, other, smartScan);
        ExpectAll(these, those);
        ExpectAll(those, these);
    }
}

/// Subjects of mails in these files that no page names any more.
TEST(Samples, SmartScanFindsDeletedMails)
{
    for (const auto& [name, subject] :
         {std::pair("mailbox.ost", "message 3935"), {"outlook.pst", "message 1"}}) {
        SCOPED_TRACE(name);
        const auto sample = SampleCopy(name);
        if (!sample)
            GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
        const auto orphaned = RecoveredFrom(*sample, name, true)["/Orphaned Mails"];
        EXPECT_TRUE(
            std::ranges::any_of(orphaned, [end = subject + std::string("'")](const std::string& item) {
                return item.find(end) != std::string::npos;
            }));
    }
}

}  // namespace
}  // namespace pastille::tests
