#include "store/OutLook.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/FaultyFileSystem.h"
#include "tests/support/RecordingFrontEnd.h"
#include "tests/support/StoreBuilder.h"

namespace pastille::tests {
namespace {

/// Stands for the phases that write: takes note of being called.
class CRecoveryStub final : public store::IRecovery {
public:
    void SetUpOutput(store::RunContext& run) override
    {
        run.BeginPhase(3);
        calls += "setup ";
        run.state.outputFolder = "out";
        run.state.failed = failSetUp;
    }
    void WriteLog(std::u16string_view entry) override { log += entry; }
    void CollectFolders(store::RunContext& run) override
    {
        calls += "folders ";
        blocks = run.source.blocks.Count();
        nodes = run.source.nodes.Size();
    }
    void RecoverItems(store::RunContext&) override { calls += "items "; }
    void CloseOutput(store::RunContext&) override { calls += "close"; }

    std::string calls;
    std::u16string log;
    std::uint64_t blocks = 0, nodes = 0;
    bool failSetUp = false;
};

struct RecordedRun {
    explicit RecordedRun(const Bytes& bytes) : files(bytes) {}
    void Start(platform::IFileSystem* fileSystem = nullptr)
    {
        store::COutLook engine(fileSystem != nullptr ? *fileSystem : files, frontEnd, recovery);
        platform::RunSettings settings;
        settings.sourcePath = "source.pst";
        engine.Run(settings, state);
    }
    CMemoryFileSystem files;
    platform::RunState state;
    CRecordingFrontEnd frontEnd;
    CRecoveryStub recovery;
};

Bytes SoundStore()
{
    StoreDescription description;
    description.messages = {Mail(u"One", u"Ada", u"Text", FileTime(2020, 1, 1))};
    return CBuiltStore(description).Content();
}

TEST(Run, SoundStoresGoThroughAllPhases)
{
    const Bytes bytes = SoundStore();
    RecordedRun run(bytes);
    run.Start();
    EXPECT_EQ(run.frontEnd.Phases(), "1 2 3 4 5 8c");
    EXPECT_EQ(run.recovery.calls, "setup folders items close");
    EXPECT_GT(run.recovery.nodes, 30u);
    EXPECT_GT(run.recovery.blocks, 25u);
    EXPECT_FALSE(run.state.failed);
    EXPECT_EQ(run.frontEnd.Boxes(), "");
    EXPECT_EQ(run.frontEnd.completions, 1);
    EXPECT_EQ(run.recovery.log,
              u"\r\n\r\n-------------Scanning source file----------------\r\nCollecting NBT Entries\r\n"
              u"Collecting BBT Entries");
}

TEST(Run, WhatIsNoStoreIsRefusedAndCleanedUp)
{
    Bytes bytes = SoundStore();
    bytes[8] = std::byte{'A'};
    bytes[9] = std::byte{'B'};
    const Bytes shortFile(5);
    for (const Bytes& refused : {bytes, shortFile, Bytes()}) {
        RecordedRun run(refused);
        run.Start();
        EXPECT_EQ(run.frontEnd.Boxes(), "Error: Pst/Ost file is not valid.");
        EXPECT_EQ(run.frontEnd.Phases(), "1 2 8c");
        EXPECT_EQ(run.recovery.calls, "close");
        EXPECT_TRUE(run.state.failed);
        EXPECT_EQ(run.frontEnd.completions, 0);
    }
}

TEST(Run, FewerThanTwoBlocksAreNoStore)
{
    for (const std::size_t blocks : {std::size_t{0}, std::size_t{1}, std::size_t{2}}) {
        CMemoryFile file;
        CStoreFile store(file, {});
        std::vector<BbtEntry> entries;
        for (std::size_t i = 0; i < blocks; ++i)
            entries.push_back({4 + 4 * i, 0x6000, 100, 100, 2});
        store.WriteBbtPage(entries);
        store.Finish();
        const Bytes bytes = file.Content();
        RecordedRun run(bytes);
        run.Start();
        EXPECT_EQ(run.state.failed, blocks < 2);
        EXPECT_EQ(run.frontEnd.Boxes(), blocks < 2 ? "Error: Pst/Ost file is not valid." : "");
        EXPECT_EQ(run.frontEnd.completions, blocks < 2 ? 0 : 1);
    }
}

TEST(Run, ABlockIndexThatCannotBeMadeOrGrownIsReported)
{
    const Bytes bytes = SoundStore();
    for (FileFaults faults : {FileFaults{.failingCreate = 1}, FileFaults{.diskBytes = 0}}) {
        RecordedRun run(bytes);
        CFaultyFileSystem faulty(std::move(faults), run.files);
        run.Start(&faulty);
        EXPECT_EQ(run.frontEnd.Boxes(), "Error: Some problem is encounterd to create temporary file.");
        EXPECT_TRUE(run.state.failed);
        EXPECT_EQ(run.frontEnd.completions, 0);
        EXPECT_TRUE(run.recovery.calls.ends_with("close"));
    }
}

TEST(Run, AFailureInTheSetUpSkipsTheScans)
{
    const Bytes bytes = SoundStore();
    RecordedRun run(bytes);
    run.recovery.failSetUp = true;
    run.Start();
    EXPECT_EQ(run.recovery.nodes + run.recovery.blocks, 0u);
    EXPECT_EQ(run.frontEnd.Phases(), "1 2 3 8c");
    EXPECT_EQ(run.frontEnd.completions, 0);
}

TEST(Run, AStopInAnyPhaseEndsInTheAbortedMessage)
{
    const Bytes bytes = SoundStore();
    for (const unsigned phase : {1u, 2u, 3u, 4u, 5u}) {
        RecordedRun run(bytes);
        run.state.outputPath = "/out/new.pst";
        run.frontEnd.onPhase = [&](unsigned current) {
            if (current == phase)
                run.state.stopRequested = true;
        };
        run.Start();
        EXPECT_EQ(run.frontEnd.Boxes(), "Information: Recovery process aborted.\nRecovered at:/out/new.pst")
            << phase;
        EXPECT_FALSE(run.state.failed) << "a stop is no failure";
        EXPECT_EQ(run.frontEnd.completions, 0);
        EXPECT_TRUE(run.recovery.calls.ends_with("close")) << run.recovery.calls;
        EXPECT_TRUE(run.frontEnd.Phases().ends_with("8c"));
    }
}

TEST(Run, PercentagesAreSentWhenTheyChange)
{
    Bytes bytes = SoundStore();
    RecordedRun run(bytes);
    run.Start();
    const auto percents = run.frontEnd.All<platform::PercentMessage>();
    ASSERT_FALSE(percents.empty());
    for (std::size_t i = 1; i < percents.size(); ++i)
        EXPECT_FALSE(percents[i].percent == percents[i - 1].percent &&
                     percents[i].step == percents[i - 1].step);
    // A file so short that its hundredth is 0 still ends.
    bytes.resize(50);
    RecordedRun tiny(bytes);
    tiny.Start();
    EXPECT_TRUE(tiny.state.failed);
}

}  // namespace
}  // namespace pastille::tests
