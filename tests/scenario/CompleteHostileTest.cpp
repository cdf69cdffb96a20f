#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "tests/scenario/CompleteRun.h"
#include "tests/scenario/HostileMails.h"
#include "tests/scenario/HostileStores.h"
#include "tests/support/WholeCompare.h"

namespace pastille::tests {
namespace {

using format::Variant;
using nlohmann::json;
namespace pid = format::pid;

StoreMessage Bystander(std::u16string_view subject)
{
    StoreMessage mail = Mail(subject, u"Ben", u"Kept", FileTime(2020, 1, 1));
    mail.attachments = {{.fileName = u"kept.bin", .data = FixedBytes(7, 20'000)}};
    return mail;
}

StoreDescription Around(const HostileStore& hostile, Variant variant)
{
    StoreDescription store;
    store.format = FormatOf(variant);
    store.format.packing = Packing::None;
    store.format.nodesPerPage = 4;
    StoreMessage victim = Mail(u"Victim", u"Ada Brook", u"Text", FileTime(2020, 1, 1));
    victim.nid = kVictim;
    StoreMessage after = Bystander(u"After");
    after.nid = kBystander;
    store.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note", .nid = kInbox},
                     {.name = u"Other", .messages = {Bystander(u"Elsewhere")}, .nid = kOther}};
    hostile.make(store, victim);
    store.folders[0].messages = {Bystander(u"Before"), victim, after};
    return store;
}

/// The store, hostile in that one way; all of it but the victim must come back, each item once.
void RecoverAround(const HostileStore& hostile, Variant variant, bool smartScan)
{
    CBuiltStore built(Around(hostile, variant));
    CStoreDamage damage = built.Damage();
    hostile.damage(damage, built);
    const long memory = PeakMemory();
    const auto start = std::chrono::steady_clock::now();
    CCompleteRun run(built.Content(), {.smartScan = smartScan, .kind = platform::SourceKind::Pst});
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    EXPECT_LT(time.count(), 20.0);
    EXPECT_LT(PeakMemory() - memory, 400) << "MB";
    EXPECT_LT(std::filesystem::file_size(run.Repair().state.outputPath), 40'000'000u);
    for (const char16_t* const subject : {u"Before", u"After", u"Elsewhere"}) {
        const auto items = run.ItemsOf(subject);
        EXPECT_EQ(items.size(), 1u) << platform::ToUtf8(subject) << run.Report()["losses"];
        for (const WholeMessage* const item : items) {
            EXPECT_EQ(TextOf(item->properties, pid::kBody), u"Kept");
            EXPECT_EQ(item->recipients.size(), 1u);
            ASSERT_EQ(item->attachments.size(), 1u);
            EXPECT_EQ(item->attachments[0].properties.at(pid::kAttachDataBinary).bytes,
                      FixedBytes(7, 20'000));
        }
    }
    const auto victims = run.ItemsOf(u"Victim");
    EXPECT_LE(victims.size(), 1u);
    EXPECT_TRUE(!victims.empty() || !run.Report()["losses"].empty()) << "the victim is not told of";
}

/// Variants and kinds of scan take turns.
struct NumberedStore {
    HostileStore store;
    std::size_t number;
    friend void PrintTo(const NumberedStore& tested, std::ostream* out) { *out << tested.store.name; }
};

class CompleteHostile : public testing::TestWithParam<NumberedStore> {};

TEST_P(CompleteHostile, CostsNothingOfOthers)
{
    const HostileStore& hostile = GetParam().store;
    const Variant variant = kAllVariants[GetParam().number % std::size(kAllVariants)];
    SCOPED_TRACE(VariantName(variant));
    RecoverAround(hostile, variant, GetParam().number % 2 == 0);
}

std::vector<NumberedStore> AllStores()
{
    std::vector<NumberedStore> all;
    for (const HostileStore& store : HostileStores())
        all.push_back({store, all.size()});
    for (const Hostile& mail : HostileMails())
        all.push_back({{mail.name, mail.make}, all.size()});
    return all;
}

INSTANTIATE_TEST_SUITE_P(Kinds, CompleteHostile, testing::ValuesIn(AllStores()),
                         [](const auto& tested) { return std::string(tested.param.store.name); });

/// A thousand messages, each attached to the one around it.
TEST(CompleteOdd, MessagesCountlesslyNestedComeBack)
{
    constexpr int kLevels = 1000;
    auto inner = std::make_shared<StoreMessage>(Mail(u"Innermost", u"Ada", u"Text", FileTime(2020, 1, 1)));
    for (int level = 1; level < kLevels; ++level) {
        auto outer = std::make_shared<StoreMessage>(Mail(u"Level", u"Ada", u"Text", FileTime(2020, 1, 1)));
        outer->attachments = {Embed(inner, u"Level")};
        inner = outer;
    }
    StoreMessage mail = Mail(u"Outermost", u"Ada", u"Text", FileTime(2020, 1, 1));
    mail.attachments = {Embed(inner, u"Level")};
    StoreDescription store = InFolders({{.name = u"Inbox", .messages = {mail}}});
    store.format.keepDirectory = false;
    CCompleteRun run(CBuiltStore(store).Content(), {});
    EXPECT_EQ(run.Report()["attachedMessages"], kLevels);
    EXPECT_TRUE(run.Report()["losses"].empty()) << run.Report()["losses"];
    ASSERT_EQ(run.ItemsOf(u"Outermost").size(), 1u);
    const WholeMessage* at = run.ItemsOf(u"Outermost").front();
    int levels = 0;
    for (; !at->attachments.empty() && !at->attachments[0].embedded.empty(); ++levels)
        at = &at->attachments[0].embedded[0];
    EXPECT_EQ(levels, kLevels);
    EXPECT_EQ(TextOf(at->properties, pid::kSubject), u"Innermost");
}

/// Behind or within another store's blocks those of a store keep their places and their BIDs.
TEST(CompleteOdd, OfTwoStoresInOneFileTheFirstComesBack)
{
    StoreDescription first =
        InFolders({{.name = u"Inbox", .messages = {Bystander(u"Before"), Bystander(u"After")}}});
    const CBuiltStore one(first), other(InFolders({{.name = u"Other", .messages = {Bystander(u"Other")}}}));
    Bytes both = one.Content();
    Append(both, other.Content());
    CCompleteRun run(both, {});
    EXPECT_EQ(run.ItemsOf(u"Before").size(), 1u);
    EXPECT_EQ(run.ItemsOf(u"After").size(), 1u);
    const CTemporaryFolder folder;
    one.WriteTo(folder / "one.pst");
    EXPECT_EQ(Joined(Differences(ReadWholeStore(folder / "one.pst"), run.Store())), "");
}

TEST(CompleteOdd, NamesOfFoldersAndFilesAreNeverHostPaths)
{
    StoreDescription store;
    std::size_t items = 0;
    for (const std::u16string& name : OddNames()) {
        StoreMessage mail = Mail(u"In an odd folder", u"Ada", u"Text", FileTime(2020, 1, 1));
        mail.label = "in " + std::to_string(items++);
        mail.attachments = {{.fileName = name, .data = Bytes(20, std::byte{1})}};
        store.folders.push_back({.name = name, .messages = {mail}});
    }
    store.folders.push_back({.name = u"..", .messages = {Bystander(u"Of the same name")}});
    CCompleteRun run(CBuiltStore(store).Content(), {});
    EXPECT_EQ(run.ItemsOf(u"In an odd folder").size(), items);
    EXPECT_EQ(run.ItemsOf(u"Of the same name").size(), 1u);
    const std::filesystem::path report = run.Repair().state.outputPath.parent_path() / "report.json";
    std::vector<std::string> strangers = run.Repair().Strangers();
    std::erase(strangers, report.string());
    EXPECT_EQ(strangers, std::vector<std::string>());
}

/// A failing disk: sectors that cannot be read are zeros to the recovery.
TEST(CompleteOdd, UnreadableSectorsCostWhatLiesInThem)
{
    const HostileStore healthy{"healthy", [](StoreDescription&, StoreMessage&) {}};
    const CBuiltStore built(Around(healthy, Variant::Unicode));
    const StorePlace& victim = built.Directory().Find("Victim/data");
    CRepair repair(built.Content());
    repair.settings.complete = true;
    repair.files.faults.unreadable = {{victim.offset / 512 * 512, 512}};
    repair.Run();
    EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
    ASSERT_TRUE(repair.HasResult());
    const WholeStore store = ReadWholeStore(repair.state.outputPath);
    EXPECT_EQ(store.CountItems(false), 3u + store.folders.at("/Inbox").items.size() - 2u);
    std::size_t kept = 0;
    for (const auto& [path, folder] : store.folders)
        for (const WholeMessage& item : folder.items)
            kept += TextOf(item.properties, pid::kBody) == u"Kept";
    EXPECT_EQ(kept, 3u);
}

}  // namespace
}  // namespace pastille::tests
