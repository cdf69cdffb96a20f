#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "platform/RunState.h"

namespace pastille::preview {
class CAnimation;
}

namespace pastille::app {

class CWrappedText;

/// What a stop question needs of the run.
class IRunControl {
public:
    virtual ~IRunControl() = default;
    virtual void PauseRun() = 0;
    virtual void ResumeRun() = 0;
    virtual void StopRun() = 0;
};

/// "hh:mm:ss" of a number of seconds, hours modulo 24.
QString ElapsedText(qint64 seconds);
/// Caption of a phase from 1 to 8; empty for any other number.
QString PhaseCaption(unsigned phase, bool closing);

/// The progress of a run. One object serves all runs; closing it ends neither the run nor the object.
class CRepairDlg final : public QDialog {
    Q_OBJECT

public:
    /// Result of a dialog that the run has closed.
    static constexpr int kRunEnded = 1;

    CRepairDlg(QWidget* parent, IRunControl& run);

    /// Begins with a run: empties everything and starts the clock.
    void Begin(const platform::RunSettings& settings);
    // All may come while the dialog is closed.
    void ShowPhase(unsigned phase, bool closing);
    void ShowPercent(unsigned percent);
    /// Closes the dialog and stops the clock.
    void End();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void MakeParts();
    void Arrange();
    void AskStop();
    void ShowElapsed();

    IRunControl& m_run;
    QLabel* m_scan;
    CWrappedText* m_destination;
    QLabel* m_phase;
    QLabel* m_caption;
    QProgressBar* m_bar;
    QLabel* m_percent;
    preview::CAnimation* m_animation;
    QLabel* m_elapsed;
    QPushButton* m_stop;
    QElapsedTimer m_clock;
    QTimer m_timer;
};

}  // namespace pastille::app
