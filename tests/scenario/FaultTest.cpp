#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/scenario/Repair.h"

namespace pastille::tests {
namespace {

StoreDescription Letters(unsigned count = 20)
{
    StoreDescription store;
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    for (unsigned i = 0; i < count; ++i)
        inbox.messages.push_back(Mail(u"Letter " + std::u16string(1, static_cast<char16_t>(u'A' + i)),
                                      u"Ada Brook", u"Text", FileTime(2020, 6, 1 + i % 28)));
    store.folders = {inbox};
    return store;
}

struct FileState {
    Bytes bytes;
    timespec modified, accessed;
};

FileState StateOf(const std::filesystem::path& path)
{
    FileState state;
    const auto source = platform::HostFileSystem().OpenSource(path);
    state.bytes.resize(source->Size());
    source->ReadAt(0, state.bytes);
    struct stat status {};
    ::stat(path.c_str(), &status);
    state.modified = status.st_mtim;
    state.accessed = status.st_atim;
    return state;
}

bool SameTime(const timespec& a, const timespec& b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

TEST(Faults, TheSourceStaysAsItWas)
{
    CRepair repair(CBuiltStore(Letters()).Content());
    // A time of access long past: reading would renew it.
    const timespec past[2] = {{1'000'000'000, 5}, {1'000'000'000, 7}};
    ::utimensat(AT_FDCWD, repair.settings.sourcePath.c_str(), past, 0);
    const FileState before = StateOf(repair.settings.sourcePath);
    repair.Run();
    const FileState after = StateOf(repair.settings.sourcePath);
    EXPECT_EQ(before.bytes, after.bytes);
    EXPECT_TRUE(SameTime(before.modified, after.modified));
    EXPECT_TRUE(SameTime(before.accessed, after.accessed));
    EXPECT_TRUE(SameTime(after.accessed, past[0]));
}

TEST(Faults, UnreadableRangesCostOnlyWhatLiesThere)
{
    const StoreDescription description = Letters();
    const CBuiltStore store(description);
    const StorePlace lost = store.Directory().Find("Letter E/data");
    CRepair repair(store.Content());
    repair.files.faults.unreadable = {{lost.offset / 512 * 512, 512}};
    repair.Run();
    EXPECT_FALSE(repair.state.failed);
    const std::vector<SeenItem> found = AllItems(repair.ReadBack());
    // A block is at most two sectors from its neighbours, so the blocks next to it may be touched.
    EXPECT_GE(found.size(), 18u);
    EXPECT_LT(found.size(), 20u);
}

TEST(Faults, UnreadableNearlyEverywhereEndsInARefusalOrAnEmptyStore)
{
    const CBuiltStore store(Letters());
    for (const std::uint64_t from : {std::uint64_t{0}, std::uint64_t{512}, std::uint64_t{18432}}) {
        CRepair repair(store.Content());
        repair.files.faults.unreadable = {{from, store.Content().size()}};
        repair.Run();
        EXPECT_EQ(repair.frontEnd.completions, 0) << from;
        EXPECT_TRUE(repair.state.failed) << from;
    }
}

TEST(Faults, AShrinkingSourceEnds)
{
    const CBuiltStore store(Letters());
    for (std::uint64_t size = 20'000; size < store.Content().size(); size += 40'000) {
        CRepair repair(store.Content());
        repair.files.faults.shrinksTo = size;
        repair.Run();
        EXPECT_EQ(repair.frontEnd.completions + static_cast<int>(repair.state.failed), 1) << size;
    }
}

TEST(Faults, AnOutputFolderThatExistsIsRefusedAndLeftAlone)
{
    CRepair repair(CBuiltStore(Letters()).Content());
    const auto taken = repair.settings.destinationFolder / "source Recovered";
    std::filesystem::create_directory(taken);
    repair.Run();
    EXPECT_TRUE(repair.state.failed);
    EXPECT_NE(repair.frontEnd.Boxes().find("Unable to create folder to save recovered .pst file."),
              std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(taken));
    EXPECT_EQ(repair.frontEnd.completions, 0);
}

TEST(Faults, ADestinationThatIsAFileOrMissingIsRefused)
{
    for (const bool file : {true, false}) {
        CRepair repair(CBuiltStore(Letters()).Content());
        std::filesystem::remove(repair.settings.destinationFolder);
        if (file)
            platform::HostFileSystem().Create(repair.settings.destinationFolder);
        repair.Run();
        EXPECT_TRUE(repair.state.failed);
        EXPECT_EQ(repair.frontEnd.completions, 0);
        EXPECT_NE(repair.frontEnd.Boxes().find("Error: "), std::string::npos);
    }
}

TEST(Faults, AFileThatCannotBeCreatedIsToldOrDoneWithout)
{
    const CBuiltStore store(Letters(6));
    for (std::uint64_t at = 1; at < 8; ++at) {
        CRepair repair(store.Content());
        repair.files.faults.failingCreate = at;
        repair.Run();
        if (!repair.state.failed) {
            EXPECT_EQ(CountItems(repair.ReadBack()), 6u) << at;
        } else {
            EXPECT_NE(repair.frontEnd.Boxes().find("Error: "), std::string::npos) << at;
        }
    }
}

TEST(Faults, AStopInAnyPhaseKeepsWhatIsThere)
{
    const CBuiltStore store(Letters());
    for (const unsigned phase : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u}) {
        CRepair repair(store.Content());
        repair.frontEnd.onPhase = [&](unsigned current) {
            if (current == phase)
                repair.state.stopRequested = true;
        };
        repair.Run();
        EXPECT_FALSE(repair.state.failed) << phase;
        EXPECT_EQ(repair.frontEnd.completions, 0) << phase;
        EXPECT_NE(repair.frontEnd.Boxes().find("Recovery process aborted."), std::string::npos) << phase;
        if (phase > 3) {
            EXPECT_EQ(CountItems(repair.ReadBack()), 0u) << phase;
        }
    }
}

TEST(Faults, AStopBetweenItemsKeepsTheItemsBefore)
{
    const CBuiltStore store(Letters());
    CRepair repair(store.Content());
    int subjects = 0;
    repair.frontEnd.onMessage = [&](const platform::Message& message) {
        const auto* cell = std::get_if<platform::ListCellMessage>(&message);
        if (cell != nullptr && cell->cell == 3 && ++subjects == 7)
            repair.state.stopRequested = true;
    };
    repair.Run();
    EXPECT_EQ(subjects, 7) << "the item being written is finished, no other is begun";
    EXPECT_EQ(CountItems(repair.ReadBack()), 7u);
    EXPECT_FALSE(std::filesystem::exists(repair.state.outputFolder / "FirstTableItem.dat"));
}

TEST(Faults, SecondRunsTakeTheNextFreeName)
{
    CRepair repair(CBuiltStore(Letters(3)).Content());
    repair.Run();
    EXPECT_EQ(repair.state.outputPath.filename(), "source Recovered.pst");
    const auto first = repair.state.outputFolder;
    repair.Run();
    EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
    EXPECT_EQ(repair.state.outputFolder, first.parent_path() / "source Recovered0");
    EXPECT_EQ(CountItems(repair.ReadBack()), 3u);
}

}  // namespace
}  // namespace pastille::tests
