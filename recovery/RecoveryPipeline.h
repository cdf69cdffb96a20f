#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "recovery/RecoveryRun.h"
#include "recovery/RunLog.h"
#include "recovery/complete/CompleteRecovery.h"
#include "store/OutLook.h"
#include "writer/ComError.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// What a recovery asks of the host beside files.
struct RecoveryOptions {
    /// Time of the log's entries and of the mails that the run makes itself.
    Clock clock = [] { return std::chrono::system_clock::now(); };
    /// The program that registers the component, in the folder of the executable.
    std::filesystem::path helperProgram;
    /// Starts a program without waiting for it; false when it cannot be started. Without it nothing is
    /// started.
    std::function<bool(const std::filesystem::path&)> startProgram;
};

/// The recovery of one run after the other: everything that a run writes.
///
/// A failing component costs one property, item or folder. A file below the new store that cannot be written
/// ends the run: nothing more is tried, the failure flag is set, and one message tells why and what there is.
/// A failed run leaves its new store when that holds an item, as the component completed it last; without one
/// the file is removed.
class CRecoveryPipeline final : public store::IRecovery {
public:
    /// The factory must outlive this object.
    explicit CRecoveryPipeline(writer::IComponentFactory& component, RecoveryOptions options = {});

    void SetUpOutput(store::RunContext& run) override;
    void WriteLog(std::u16string_view entry) override;
    void CollectFolders(store::RunContext& run) override;
    void RecoverItems(store::RunContext& run) override;
    void CloseOutput(store::RunContext& run) override;

    /// Of the run made last.
    const RecoveryFigures& Figures() const { return m_recovery.figures; }
    /// What that run expected, found and lost; nothing unless it was a complete recovery.
    const std::optional<complete::CAccount>& Account() const { return m_account; }
    /// What of the component ended that run early; nothing when the component did not.
    const std::optional<writer::HRESULT>& Failure() const { return m_failure; }

private:
    void Fail(store::RunContext& run, const writer::_com_error& error);
    void CompleteStore(store::RunContext& run);
    void ReportComplete(store::RunContext& run);
    void TellEarlyEnd(store::RunContext& run, bool isKept);

    writer::IComponentFactory& m_component;
    RecoveryOptions m_options;
    RecoveryRun m_recovery;
    std::unique_ptr<complete::CCompleteRecovery> m_complete;  ///< from phase 6 to the end of the run
    std::optional<complete::CAccount> m_account;
    std::optional<writer::HRESULT> m_failure;
    bool m_failureShown = false;
};

}  // namespace pastille::recovery
