#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/FileSystem.h"
#include "platform/Messages.h"
#include "platform/RunState.h"
#include "store/ScanFindings.h"
#include "store/SourceStore.h"

namespace pastille::store {

/// What the front end may tell of a run after it. Times in seconds.
struct RunFigures {
    format::Variant variant = format::Variant::Ansi;
    format::CryptMethod cryptMethod = format::CryptMethod::None;
    std::uint64_t nodes = 0;
    std::uint64_t blocks = 0;
    std::uint64_t orphans = 0;  ///< records of the orphan list
    ScanFindings scan;
    std::array<double, 10> phaseSeconds{};  ///< [1] to [8] the phases, [9] closing
};

/// What a run shares with its phases.
struct RunContext {
    const platform::RunSettings& settings;
    platform::RunState& state;
    platform::IFrontEnd& frontEnd;
    platform::IFileSystem& fileSystem;
    CSourceStore& source;
    RunFigures& figures;

    /// Sends a percentage when the number differs from the one sent last in this phase.
    void ReportPercent(unsigned percent, unsigned step);
    /// Announces a phase and takes its time until the next one begins.
    void BeginPhase(unsigned phase);
    /// Announces the closing step.
    void BeginClosing();
    /// Asks the progress display to close, then shows an error box with caption "Error".
    void ShowError(std::u16string_view text);

    /// Adds the time since the last phase began to that phase's figure.
    void StopClock();

    unsigned lastPercent = ~0u;
    std::size_t timedPhase = 0;  ///< index into the figures' seconds
    std::chrono::steady_clock::time_point phaseStart = std::chrono::steady_clock::now();
};

/// Raised by a phase that ends the run at once: nothing more is shown.
struct RunEnded {
    bool cleanUp;  ///< run the clean-up before ending
};

/// The phases of a run that write. The run drives them through this interface; recovery implements it.
class IRecovery {
public:
    virtual ~IRecovery() = default;
    /// Phase 3. Fixes the output paths and names in the run state, creates the output store, opens the log.
    /// Without an output folder in the run state the run writes nothing: its tables stay in memory.
    /// On a failure shows its message and sets the failure flag, or raises RunEnded.
    virtual void SetUpOutput(RunContext& run) = 0;
    /// Appends an entry to the run log, when there is one.
    virtual void WriteLog(std::u16string_view entry) = 0;
    /// Phases 6 and 7.
    virtual void CollectFolders(RunContext& run) = 0;
    /// Phase 8.
    virtual void RecoverItems(RunContext& run) = 0;
    /// Part of the clean-up: closes the log, completes and releases the output store. A store that could not
    /// be completed sets the failure flag and shows its message.
    virtual void CloseOutput(RunContext& run) = 0;
};

/// The engine: one object serves any number of runs, one after the other. A run is made on the caller's
/// thread; its state's flags may be set from others.
class COutLook {
public:
    COutLook(platform::IFileSystem& fileSystem, platform::IFrontEnd& frontEnd, IRecovery& recovery);
    virtual ~COutLook();
    COutLook(const COutLook&) = delete;
    COutLook& operator=(const COutLook&) = delete;

    /// One whole repair. Reports everything through the front end; afterwards `state` tells whether it failed
    /// and where the result lies. Raises std::invalid_argument when the settings name an unknown code page.
    /// `state.stopRequested` still tells whether it was stopped; the caller resets it.
    void Run(const platform::RunSettings& settings, platform::RunState& state);

    const RunFigures& Figures() const { return m_figures; }

private:
    void RunPhases(RunContext& run);
    void OpenSource(RunContext& run);
    void Validate(RunContext& run);
    std::optional<complete::FileType> Recognise(RunContext& run);
    void ScanCompletely(RunContext& run);
    void CollectNodes(RunContext& run);
    void CollectBlocks(RunContext& run);
    bool BuildBlockTable(RunContext& run);
    void CleanUp(RunContext& run);
    void ShowEnd(RunContext& run);

    platform::IFileSystem& m_fileSystem;
    platform::IFrontEnd& m_frontEnd;
    IRecovery& m_recovery;
    RunFigures m_figures;
};

}  // namespace pastille::store
