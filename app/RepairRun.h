#pragma once

#include <QMessageBox>
#include <QObject>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "platform/FileSystem.h"
#include "platform/Messages.h"
#include "platform/RunState.h"
#include "recovery/RecoveryPipeline.h"
#include "recovery/RunSummary.h"
#include "store/OutLook.h"
#include "writer/Component.h"

namespace pastille::app {

/// The windows that show a run. Everything is called on their thread; the run waits meanwhile.
class IRunWindows {
public:
    virtual ~IRunWindows() = default;
    virtual void ShowPhase(unsigned phase, bool closing) = 0;
    virtual void ShowPercent(unsigned percent) = 0;
    /// The run has ended, or a box follows that the progress must not cover.
    virtual void EndProgress() = 0;
    virtual void ShowRunBox(const QString& text, const QString& caption, QMessageBox::Icon icon) = 0;
    virtual void ShowCompletion(const recovery::SummaryCounts& counts,
                                const std::filesystem::path& outputFolder) = 0;
    /// The last call of a run; another one may be started from now on.
    virtual void RunIsOver() = 0;
};

/// The engine with its worker thread: one run after the other.
class CRepairRun final : public QObject, private platform::IFrontEnd {
    Q_OBJECT

public:
    /// All must outlive this object, which lives on the windows' thread.
    CRepairRun(platform::IFileSystem& fileSystem, writer::IComponentFactory& component,
               recovery::RecoveryOptions options, IRunWindows& windows);
    /// Waits for a run to end.
    ~CRepairRun() override;

    bool IsRunning() const { return m_worker.joinable(); }
    /// REQUIRES that no run is going.
    void Start(const platform::RunSettings& settings);
    /// The run waits at its gate, and shows nothing, until Resume.
    void Pause();
    void Resume();
    void RequestStop();
    /// Stops the run for good: nothing of it is shown any more. Returns when it has ended, or false after
    /// that time.
    bool StopAndWait(std::chrono::milliseconds patience);

private:
    void Send(const platform::Message& message) override;
    void Handle(const platform::Message& message);
    void Run(const platform::RunSettings& settings);
    void Conclude();
    void Tell(const QString& error);
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
    std::atomic<bool> m_silent{false};
    std::thread m_worker;
};

}  // namespace pastille::app
