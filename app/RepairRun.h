#pragma once

#include <QMessageBox>
#include <QObject>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Messages.h"
#include "platform/RunState.h"
#include "recovery/RecoveryPipeline.h"
#include "recovery/RunSummary.h"
#include "store/OutLook.h"
#include "writer/Component.h"

namespace pastille::app {

/// What the panes show of a run while it goes, in the run's order.
struct RunPreview {
    using Message =
        std::variant<platform::FolderMessage, platform::ListCellMessage, platform::OrphanRowMessage>;
    std::u16string storeName;
    std::vector<Message> messages;
};

/// What a run that has ended well has brought.
struct RunResult {
    recovery::SummaryCounts counts;
    std::filesystem::path outputFolder;
    /// Of a complete recovery: all folders, and where its report lies.
    std::optional<recovery::complete::ItemCounts> account = std::nullopt;
    std::filesystem::path report = {};
};

/// The windows that show a run. Everything is called on their thread; the run waits meanwhile.
class IRunWindows {
public:
    virtual ~IRunWindows() = default;
    virtual void ShowPhase(unsigned phase, bool closing) = 0;
    virtual void ShowPercent(unsigned percent) = 0;
    /// The run has ended, or a box follows that the progress must not cover.
    virtual void EndProgress() = 0;
    /// What the run has brought back since the call before.
    virtual void ShowRecovered(const RunPreview& recovered) = 0;
    virtual void ClearList() = 0;
    /// The items of the new store have been counted.
    virtual void ShowCounts(const recovery::SummaryCounts& counts) = 0;
    virtual void ShowRunBox(const QString& text, const QString& caption, QMessageBox::Icon icon) = 0;
    virtual void ShowCompletion(const RunResult& result) = 0;
    /// The last call of a run; another one may be started from now on. `store`: the new store; empty when
    /// there is none to look at.
    virtual void RunIsOver(const std::filesystem::path& store) = 0;
};

/// The engine with its worker thread: one run after the other.
class CRepairRun final : public QObject, private platform::IFrontEnd {
    Q_OBJECT

public:
    /// All must outlive this object, which lives on the windows' thread.
    CRepairRun(platform::IFileSystem& fileSystem, writer::IComponentFactory& component,
               recovery::RecoveryOptions options, IRunWindows& windows);
    /// Stops a run that is going. A run that does not end soon, as one that waits for a dead device, ends the
    /// process with it.
    ~CRepairRun() override;

    bool IsRunning() const { return m_worker.joinable(); }
    /// False when the host has no thread left for it. REQUIRES that no run is going.
    bool Start(const platform::RunSettings& settings);
    /// The run waits at its gate, and shows nothing, until Resume.
    void Pause();
    void Resume();
    void RequestStop();
    /// Stops the run for good: nothing of it is shown any more. The store is completed where that can be done
    /// in ten seconds; else the process ends at once, and the store is what its last checkpoint left.
    void StopForGood();

private:
    void Send(const platform::Message& message) override;
    void Handle(const platform::Message& message);
    void Collect(RunPreview::Message message);
    void ShowCollected();
    void Run(const platform::RunSettings& settings);
    void Conclude();
    void Tell(const QString& error);
    /// An error that ends with the path of the new store.
    void TellOfOutput(const char* text);
    /// Calls something on the windows' thread and waits, unless nothing is to be shown any more.
    template <class Function>
    void OnWindows(Function function);

    platform::IFileSystem& m_fileSystem;
    writer::IComponentFactory& m_component;
    IRunWindows& m_windows;
    recovery::CRecoveryPipeline m_recovery;
    store::COutLook m_engine;
    std::unique_ptr<platform::RunState> m_state;
    std::unique_ptr<recovery::CRunSummary> m_summary;
    bool m_completed = false;
    bool m_isOutputLost = false;  ///< the user has been told that the new store cannot be opened
    RunPreview m_collected;       ///< not shown yet
    std::chrono::steady_clock::time_point m_shown;
    std::atomic<bool> m_silent{false};
    std::thread m_worker;
};

}  // namespace pastille::app
