#include <gtest/gtest.h>

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <new>
#include <random>
#include <thread>

#include "component/pst/messaging/PstStore.h"
#include "tests/scenario/MadeStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

using Clock = std::chrono::steady_clock;

/// Progress that a child process tells its parent.
class CSharedProgress {
public:
    CSharedProgress()
        : m_memory(::mmap(nullptr, sizeof(MakingProgress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                          -1, 0))
    {
        if (m_memory == MAP_FAILED)
            throw std::bad_alloc();
        new (m_memory) MakingProgress();
    }
    CSharedProgress(const CSharedProgress&) = delete;
    CSharedProgress& operator=(const CSharedProgress&) = delete;
    ~CSharedProgress() { ::munmap(m_memory, sizeof(MakingProgress)); }
    MakingProgress& operator*() const { return *static_cast<MakingProgress*>(m_memory); }

private:
    void* m_memory;
};

pid_t StartChild(const std::function<void()>& work)
{
    const pid_t child = ::fork();
    if (child != 0)
        return child;
    try {
        work();
        ::_exit(0);
    } catch (...) {
        ::_exit(1);
    }
}

/// Expects that the child has ended well, or was killed.
void ExpectEnded(pid_t child)
{
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE((WIFEXITED(status) && WEXITSTATUS(status) == 0) ||
                (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL))
        << "status " << status;
}

/// What is killed keeps what it wrote, so nothing need reach the disk.
FileFaults WithoutSync()
{
    FileFaults faults;
    faults.syncs = false;
    return faults;
}

/// Ends the process in the middle of a change.
std::function<void(const FileChange&)> KillAt(std::uint64_t at)
{
    return [at, count = std::uint64_t{0}](const FileChange& change) mutable {
        if (++count != at)
            return;
        MakeHalf(change);
        ::raise(SIGKILL);
    };
}

/// How many changes of its files MakeStore makes.
std::uint64_t CountChanges(Making making)
{
    std::uint64_t changes = 0;
    const CTemporaryFolder folder;
    CFaultyFileSystem files(WithoutSync());
    files.faults.onChange = [&](const FileChange&) { ++changes; };
    MakingProgress progress;
    MakeStore(files, folder.Path(), making, progress);
    ExpectMadeStore(FileBytes(MadeStorePath(folder.Path())), progress, Ending::Closed);
    return changes;
}

/// The next one to open it for work completes what was interrupted.
void ExpectCompleted(const std::filesystem::path& path)
{
    component::pst::CPstStore::CompleteIfInterrupted(platform::HostFileSystem(), path);
    if (const Bytes file = FileBytes(path); HasHeader(file))
        ExpectSound(file, Ending::Closed);
}

class Kill : public testing::TestWithParam<Making> {};
INSTANTIATE_TEST_SUITE_P(Stores, Kill, testing::Values(Making::WithCommits, Making::WithCheckpoints));

class KillLarge : public Kill {};
INSTANTIATE_TEST_SUITE_P(Stores, KillLarge, testing::Values(Making::WithCheckpoints, Making::WithLargeItem));

TEST_P(Kill, AtAnyChangeOfTheFileLosesNothingThatWasCompleted)
{
    const std::uint64_t changes = CountChanges(GetParam());
    ASSERT_GT(changes, 50u);
    for (std::uint64_t at = 1; at <= changes; ++at) {
        SCOPED_TRACE("killed at change " + std::to_string(at));
        const CTemporaryFolder folder;
        const CSharedProgress progress;
        ExpectEnded(StartChild([&] {
            CFaultyFileSystem files(WithoutSync());
            files.faults.onChange = KillAt(at);
            MakeStore(files, folder.Path(), GetParam(), *progress);
        }));
        ExpectMadeStore(FileBytes(MadeStorePath(folder.Path())), *progress, Ending::Interrupted);
        if (at % 4 == 0)
            ExpectCompleted(MadeStorePath(folder.Path()));
        if (HasFailure())
            return;
    }
}

TEST_P(KillLarge, AtAnyMomentLosesNothingThatWasCompleted)
{
    constexpr int kKills = 30;
    const auto start = Clock::now();
    CountChanges(GetParam());
    const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
    std::minstd_rand random(1);
    std::uniform_int_distribution<std::int64_t> moment(0, whole.count());
    for (int i = 0; i < kKills; ++i) {
        const CTemporaryFolder folder;
        const CSharedProgress progress;
        const pid_t child = StartChild([&] {
            CFaultyFileSystem files(WithoutSync());
            MakeStore(files, folder.Path(), GetParam(), *progress);
        });
        std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
        ::kill(child, SIGKILL);
        ExpectEnded(child);
        SCOPED_TRACE("killed after item " + std::to_string((*progress).begun));
        ExpectMadeStore(FileBytes(MadeStorePath(folder.Path())), *progress, Ending::Interrupted);
        if (HasFailure())
            return;
    }
}

TEST(KillOfARepair, AtAnyChangeLosesNothingThatWasCompleted)
{
    constexpr unsigned kItems = 5;
    StoreDescription description;
    description.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note"}};
    for (unsigned i = 0; i < kItems; ++i)
        description.folders[0].messages.push_back(
            Mail(u"Letter " + std::u16string(1, static_cast<char16_t>(u'A' + i)), u"Ada Brook",
                 std::u16string(3000, u't'), FileTime(2020, 6, 1)));
    const CBuiltStore store(description);
    const std::vector<SeenItem> source = AllItems(Expected(description));
    std::size_t items = 0;
    for (std::uint64_t at = 1; items < kItems && !HasFailure(); ++at) {
        SCOPED_TRACE("killed at change " + std::to_string(at));
        CRepair repair(store.Content());
        ExpectEnded(StartChild([&] {
            repair.checkpoints.bytes = 0;
            repair.files.faults = WithoutSync();
            repair.files.faults.onChange = KillAt(at);
            repair.Run();
        }));
        const auto path = repair.settings.destinationFolder / "source Recovered" / "source Recovered.pst";
        const Bytes file = FileBytes(path);
        if (!HasHeader(file)) {
            ASSERT_EQ(items, 0u) << "the store is gone";
            continue;
        }
        ExpectSound(file, Ending::Interrupted);
        const std::vector<SeenItem> found = AllItems(ReadStore(path));
        EXPECT_TRUE(std::ranges::includes(source, found)) << testing::PrintToString(found);
        EXPECT_GE(found.size(), items) << "fewer than at an earlier moment";
        items = found.size();
    }
    EXPECT_EQ(items, kItems);
}

/// A change of the store's file, kept.
struct KeptChange {
    FileChange::Kind kind;
    std::uint64_t offset;
    Bytes bytes;
    std::uint32_t begun, completed;  ///< when it came
};

/// What a disk may hold that lost its power: all up to the last sync, and any of the pages written after it.
class CPowerCut {
public:
    explicit CPowerCut(Making making)
    {
        const CTemporaryFolder folder;
        CFaultyFileSystem files(WithoutSync());
        MakingProgress progress;
        files.faults.onChange = [&](const FileChange& change) {
            if (change.path == MadeStorePath(folder.Path()))
                m_changes.push_back({change.kind, change.offset,
                                     Bytes(change.bytes.begin(), change.bytes.end()), progress.begun,
                                     progress.completed});
        };
        MakeStore(files, folder.Path(), making, progress);
    }

    std::size_t Count() const { return m_changes.size(); }
    const KeptChange& operator[](std::size_t index) const { return m_changes[index]; }

    /// The file when the power goes before the change `end`. Calls must come with rising `end`.
    template <class Random>
    Bytes FileBefore(std::size_t end, Random& random)
    {
        for (std::size_t i = m_synced; i < end; ++i) {
            if (m_changes[i].kind != FileChange::Kind::Sync)
                continue;
            for (; m_synced <= i; ++m_synced)
                Apply(m_onDisk, m_changes[m_synced], [](std::uint64_t) { return true; });
        }
        CMemoryFile file(m_onDisk.Content());
        // Every page its own coin, so that any later change may arrive without an earlier one.
        for (std::size_t i = m_synced; i < end; ++i)
            Apply(file, m_changes[i], [&](std::uint64_t) { return random() % 2 == 0; });
        return file.Content();
    }

private:
    template <class Arrives>
    static void Apply(CMemoryFile& file, const KeptChange& change, Arrives&& arrives)
    {
        constexpr std::uint64_t kPage = 4096;
        if (change.kind == FileChange::Kind::SetSize && arrives(change.offset))
            file.SetSize(change.offset);
        const std::span<const std::byte> bytes = change.bytes;
        for (std::uint64_t at = 0; at < bytes.size();) {
            const std::uint64_t size =
                std::min<std::uint64_t>(bytes.size() - at, kPage - (change.offset + at) % kPage);
            if (arrives(change.offset + at))
                file.WriteAt(change.offset + at, bytes.subspan(at, size));
            at += size;
        }
    }

    std::vector<KeptChange> m_changes;
    std::size_t m_synced = 0;
    CMemoryFile m_onDisk;
};

TEST_P(Kill, APowerCutDoesNoMoreHarm)
{
    constexpr int kCutsPerChange = 1;
    CPowerCut cut(GetParam());
    ASSERT_GT(cut.Count(), 50u);
    std::minstd_rand random(1);
    for (std::size_t end = 1; end < cut.Count(); ++end) {
        SCOPED_TRACE("power lost before change " + std::to_string(end));
        MakingProgress progress;
        progress.begun = cut[end].begun;
        progress.completed = cut[end].completed;
        for (int i = 0; i < kCutsPerChange && !testing::Test::HasFailure(); ++i)
            ExpectMadeStore(cut.FileBefore(end, random), progress, Ending::Interrupted);
    }
}

}  // namespace
}  // namespace pastille::tests
