#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "component/pst/messaging/PstStore.h"
#include "tests/scenario/MadeStore.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

/// A change of the store's file, kept.
struct KeptChange {
    FileChange::Kind kind;
    std::uint64_t offset;
    Bytes bytes;
    std::uint32_t begun, completed;  ///< when it came
};

/// What of a change is in the file, page by page: told the page's place, and where the change has its middle.
using Arrives = std::function<bool(std::uint64_t page, std::uint64_t middle)>;

bool All(std::uint64_t, std::uint64_t)
{
    return true;
}

bool Half(std::uint64_t page, std::uint64_t middle)
{
    return page < middle;
}

/// The making of a store, and what its file may hold when that ends before one of its changes.
class CInterruption {
public:
    explicit CInterruption(Making making)
    {
        const CTemporaryFolder folder;
        CFaultyFileSystem files({.syncs = false});
        MakingProgress progress;
        files.faults.onChange = [&](const FileChange& change) {
            if (change.path == MadeStorePath(folder.Path()))
                m_changes.push_back({change.kind, change.offset,
                                     Bytes(change.bytes.begin(), change.bytes.end()), progress.begun,
                                     progress.completed});
        };
        MakeStore(files, folder.Path(), making, progress);
        ExpectMadeStore(FileBytes(MadeStorePath(folder.Path())), progress, Ending::Closed);
    }

    std::size_t Count() const { return m_changes.size(); }
    const KeptChange& operator[](std::size_t index) const { return m_changes[index]; }

    // Calls of either must come with rising `end`.

    /// The process is killed in the middle of the change `end`: the host still has what was written before.
    Bytes FileAfterKill(std::size_t end) { return FileWith(end, end, All, Half); }
    /// The power goes before the change `end`: of what was written since the last sync, any page may be lost,
    /// so that a later change may arrive without an earlier one.
    Bytes FileAfterPowerCut(std::size_t end)
    {
        const Arrives some = [this](std::uint64_t, std::uint64_t) { return m_random() % 2 == 0; };
        return FileWith(end, end - 1, some, some);
    }

private:
    /// All up to the last sync, `between` of the changes behind it, `ofLast` of the change `last`.
    Bytes FileWith(std::size_t end, std::size_t last, const Arrives& between, const Arrives& ofLast)
    {
        for (std::size_t i = m_synced; i < end; ++i) {
            if (m_changes[i].kind != FileChange::Kind::Sync)
                continue;
            for (; m_synced <= i; ++m_synced)
                Apply(m_onDisk, m_changes[m_synced], All);
        }
        CMemoryFile file(m_onDisk.Content());
        for (std::size_t i = m_synced; i <= last; ++i)
            Apply(file, m_changes[i], i == last ? ofLast : between);
        return file.Content();
    }

    static void Apply(CMemoryFile& file, const KeptChange& change, const Arrives& arrives)
    {
        constexpr std::uint64_t kPage = 4096;
        const std::uint64_t middle = change.offset + change.bytes.size() / 2;
        if (change.kind == FileChange::Kind::SetSize && arrives(change.offset, middle))
            file.SetSize(change.offset);
        const std::span<const std::byte> bytes = change.bytes;
        for (std::uint64_t at = 0; at < bytes.size();) {
            const std::uint64_t size =
                std::min<std::uint64_t>(bytes.size() - at, kPage - (change.offset + at) % kPage);
            if (arrives(change.offset + at, middle))
                file.WriteAt(change.offset + at, bytes.subspan(at, size));
            at += size;
        }
    }

    std::vector<KeptChange> m_changes;
    std::size_t m_synced = 0;
    CMemoryFile m_onDisk;
    std::minstd_rand m_random{1};
};

/// The next one to open the store for work completes what was interrupted.
void ExpectCompleted(const Bytes& interrupted)
{
    const CTemporaryFolder folder;
    platform::HostFileSystem().Create(folder / "made.pst")->WriteAt(0, interrupted);
    component::pst::CPstStore::CompleteIfInterrupted(platform::HostFileSystem(), folder / "made.pst");
    ExpectSound(FileBytes(folder / "made.pst"), Ending::Closed);
}

class Kill : public testing::TestWithParam<Making> {};
INSTANTIATE_TEST_SUITE_P(Stores, Kill,
                         testing::Values(Making::WithCommits, Making::WithCheckpoints, Making::WithLargeItem),
                         NameOfMaking);

TEST_P(Kill, OrPowerCutAtAnyChangeOfTheFileLosesNothingThatWasCompleted)
{
    CInterruption interruption(GetParam());
    ASSERT_GT(interruption.Count(), 50u);
    const std::size_t step = 1 + interruption.Count() / 80;
    for (std::size_t end = 1; end < interruption.Count() && !HasFailure(); end += step) {
        MakingProgress progress;
        progress.begun = interruption[end].begun;
        progress.completed = interruption[end].completed;
        {
            SCOPED_TRACE("killed in change " + std::to_string(end));
            const Bytes file = interruption.FileAfterKill(end);
            ExpectMadeStore(file, progress, Ending::Interrupted);
            if (end / step % 3 == 0 && HasHeader(file))
                ExpectCompleted(file);
        }
        {
            SCOPED_TRACE("power lost before change " + std::to_string(end));
            ExpectMadeStore(interruption.FileAfterPowerCut(end), progress, Ending::Interrupted);
        }
    }
}

}  // namespace
}  // namespace pastille::tests
