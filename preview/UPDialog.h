#pragma once

#include <QDialog>
#include <QString>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

class QEventLoop;
class QLabel;
class QProgressBar;
class QPushButton;

namespace pastille::preview {

class CUPDialog;

/// What a job has of its dialog, on the job's thread. Outlives the dialog when the job does.
class CUPJob {
public:
    explicit CUPJob(CUPDialog& dialog) : m_dialog(&dialog) {}

    /// A job looks at it between short steps and returns soon when it is true.
    bool IsCancelled() const { return m_isCancelled; }
    /// Has something done on the windows' thread, in the order of the calls; does not wait for it. Nothing
    /// that is posted after the dialog has ended is done.
    void Post(std::function<void(CUPDialog& dialog)> message);

private:
    friend class CUPDialog;
    void Leave();
    void TellDone();
    /// False when it is still not done then.
    bool WaitUntilDone(std::chrono::milliseconds patience);

    std::atomic<bool> m_isCancelled = false;
    std::mutex m_mutex;
    std::condition_variable m_change;
    bool m_isDone = false;
    CUPDialog* m_dialog;  ///< nullptr once the dialog has ended
};

/// A small modal dialog that runs one job on a thread of its own. Its parent's window takes no input from the
/// moment it runs; the dialog comes up when the job takes longer than a moment.
///
/// A job that does not end within a second of being cancelled is left alone: its thread goes on by itself and
/// must own all that it uses.
class CUPDialog final : public QDialog {
    Q_OBJECT

public:
    /// Returns true when the job was done. What it raises counts as false.
    using Job = std::function<bool(CUPJob& job)>;

    // Results.
    static constexpr int kSucceeded = 1;
    static constexpr int kFailed = 2;  ///< also when there can be no thread
    static constexpr int kCancelled = 65538;

    /// No more than 255 characters of the caption are shown.
    CUPDialog(QWidget* parent, const QString& caption, bool isCancellable, Job job);
    ~CUPDialog() override;

    /// To be called once. Handles events until the job or the dialog has ended; returns its result. The
    /// dialog may be gone then, with its parent; the result is kCancelled in that case.
    int Run();

    // What the job and the user send.
    void DisableCancel();
    void End(int result);
    void ShowBar(int percent);
    void ShowStatus(const QString& text);
    void ShowPercent(const QString& text);
    /// Ends the dialog with kCancelled when the job has ended, or after a second.
    void Cancel();

    void reject() override { Cancel(); }

private:
    void Arrange();
    void StartJob();
    void Appear();
    void Abandon();

    std::shared_ptr<CUPJob> m_link;
    Job m_job;
    std::thread m_thread;
    QEventLoop* m_loop = nullptr;
    int m_result = 0;  ///< 0 until it has ended
    bool m_canCancel;
    QLabel* m_status;
    QProgressBar* m_bar;
    QLabel* m_percent;
    QPushButton* m_cancel;
};

}  // namespace pastille::preview
