#include "app/RepairDlg.h"

#include <QGridLayout>
#include <QShortcut>

#include <array>

#include "preview/Animation.h"
#include "app/HostPath.h"
#include "app/Labels.h"
#include "app/MessageBox.h"
#include "app/SkinButton.h"
#include "app/Strings.h"
#include "app/WrappedText.h"

namespace pastille::app {
namespace {

constexpr int kMostPathLines = 4;

/// A value with its name, for those who hear it: a screen reader says the name in place of the text.
void ShowValue(QLabel& label, const char* name, const QString& value)
{
    label.setText(value);
    label.setAccessibleName(value.isEmpty() ? QString()
                                            : QString::fromLatin1(name) + QStringLiteral(": ") + value);
}

}  // namespace

QString ElapsedText(qint64 seconds)
{
    const auto two = [](qint64 value) { return QString::number(value).rightJustified(2, QLatin1Char('0')); };
    return two(seconds / 3600 % 24) + QLatin1Char(':') + two(seconds / 60 % 60) + QLatin1Char(':') +
           two(seconds % 60);
}

QString PhaseCaption(unsigned phase, bool closing)
{
    static constexpr std::array kCaptions{
        strings::kOpeningSource,   strings::kValidating,       strings::kCreatingProfile,
        strings::kCollectingNodes, strings::kCollectingBlocks, strings::kCollectingFolders,
        strings::kCreatingFolders, strings::kRecoveringItems,
    };
    if (closing)
        return Text(strings::kClosingFile);
    return phase >= 1 && phase <= kCaptions.size() ? Text(kCaptions[phase - 1]) : QString();
}

CRepairDlg::CRepairDlg(QWidget* parent, IRunControl& run) : QDialog(parent), m_run(run)
{
    setObjectName(QStringLiteral("CRepairDlg"));
    setWindowTitle(QStringLiteral("Recovery Progress"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    MakeParts();
    Arrange();
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &CRepairDlg::ShowElapsed);
    connect(m_stop, &QPushButton::clicked, this, &CRepairDlg::AskStop);
    for (const auto& keys : {QKeySequence(Qt::CTRL | Qt::Key_T), QKeySequence(Qt::Key_F4)})
        connect(new QShortcut(keys, this), &QShortcut::activated, this, &CRepairDlg::AskStop);
}

void CRepairDlg::MakeParts()
{
    m_scan = MakeLabel(this);
    m_destination = new CWrappedText(this, kMostPathLines);
    m_destination->setAccessibleName(QStringLiteral("Destination Path"));
    m_phase = MakeLabel(this);
    m_caption = MakeLabel(this);
    m_percent = MakeLabel(this);
    m_elapsed = MakeLabel(this);
    m_bar = new QProgressBar(this);
    m_bar->setRange(0, 100);
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(QStringLiteral("Progress of the current phase"));
    m_percent->setMinimumWidth(m_percent->fontMetrics().horizontalAdvance(QStringLiteral("100%")) + 4);
    m_animation = new preview::CAnimation(this);
    m_stop = new CSkinButton(Text(strings::kStop), QStringLiteral("stop"), CSkinButton::IconSide::Left, this);
    m_stop->setIconSize({16, 16});
    m_stop->setAutoDefault(false);
}

void CRepairDlg::Arrange()
{
    auto* grid = new QGridLayout(this);
    grid->addWidget(MakeBoldLabel(this, Text(strings::kSelectedScan)), 0, 0);
    grid->addWidget(m_scan, 0, 1, 1, 2);
    grid->addWidget(MakeBoldLabel(this, Text(strings::kDestinationPath)), 1, 0, Qt::AlignTop);
    grid->addWidget(m_destination, 1, 1, 1, 2);
    grid->addWidget(m_animation, 2, 0, 1, 3, Qt::AlignCenter);
    grid->addWidget(m_phase, 3, 0);
    grid->addWidget(m_caption, 3, 1, 1, 2);
    grid->addWidget(m_bar, 4, 0, 1, 2);
    grid->addWidget(m_percent, 4, 2);
    grid->addWidget(MakeBoldLabel(this, Text(strings::kElapsedTime)), 5, 0);
    grid->addWidget(m_elapsed, 5, 1);
    grid->addWidget(m_stop, 5, 2, Qt::AlignRight);
    grid->setColumnStretch(1, 1);
    grid->setVerticalSpacing(10);
    setMinimumWidth(fontMetrics().averageCharWidth() * 72);
}

void CRepairDlg::Begin(const platform::RunSettings& settings)
{
    QString scan = Text(settings.smartScan ? strings::kSmartScan : strings::kNormalScan);
    if (settings.complete)
        scan += QStringLiteral(", ") + Text(strings::kCompleteRecovery);
    ShowValue(*m_scan, "Selected Scan", scan);
    m_destination->ShowText(ShownPath(settings.destinationFolder));
    for (QLabel* label : {m_phase, m_caption, m_percent})
        ShowValue(*label, "", QString());
    m_bar->setValue(0);
    m_stop->setEnabled(true);
    m_stop->setFocus();
    m_clock.start();
    m_timer.start();
    ShowElapsed();
    adjustSize();
}

void CRepairDlg::ShowPhase(unsigned phase, bool closing)
{
    m_phase->setText(QStringLiteral("Phase ") + QString::number(phase) + QStringLiteral(" of 8"));
    ShowValue(*m_caption, "Current step", PhaseCaption(phase, closing));
}

void CRepairDlg::ShowPercent(unsigned percent)
{
    if (percent > 100)
        return;
    m_bar->setValue(static_cast<int>(percent));
    ShowValue(*m_percent, "Percentage", QString::number(percent) + QLatin1Char('%'));
}

void CRepairDlg::End()
{
    m_timer.stop();
    if (isVisible())
        done(kRunEnded);
}

void CRepairDlg::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    m_animation->Play();
}

void CRepairDlg::hideEvent(QHideEvent* event)
{
    m_animation->Stop();
    QDialog::hideEvent(event);
}

void CRepairDlg::AskStop()
{
    m_run.PauseRun();
    m_animation->Stop();
    if (AskYesNo(this, strings::kAskStop, strings::kConfirmation))
        m_run.StopRun();
    m_animation->Play();
    m_run.ResumeRun();
}

void CRepairDlg::ShowElapsed()
{
    ShowValue(*m_elapsed, "Elapsed Time", ElapsedText(m_clock.elapsed() / 1000));
}

}  // namespace pastille::app
