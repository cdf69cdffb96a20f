#include "app/RepairRun.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

#include <cstdlib>
#include <exception>
#include <system_error>
#include <type_traits>
#include <utility>
#include <variant>

#include "app/HostPath.h"
#include "app/Strings.h"
#include "platform/Text.h"

namespace pastille::app {
namespace {

/// Longest time that a run may take to complete its store when the program ends.
constexpr auto kStopPatience = std::chrono::seconds(10);
/// How often what a run brings back reaches the panes.
constexpr auto kShowTime = std::chrono::milliseconds(40);

/// A text of the run with the path in it as windows show it: the line breaks of a name are none of the
/// text's.
QString WithShownPath(std::u16string_view text, const std::filesystem::path& path)
{
    const QString raw = Text(platform::PathText(path));
    return raw.isEmpty() ? Text(text) : Text(text).replace(raw, ShownPath(path));
}

}  // namespace

CRepairRun::CRepairRun(platform::IFileSystem& fileSystem, writer::IComponentFactory& component,
                       recovery::RecoveryOptions options, IRunWindows& windows)
    : m_fileSystem(fileSystem),
      m_component(component),
      m_windows(windows),
      m_recovery(component, std::move(options)),
      m_engine(fileSystem, *this, m_recovery)
{
}

CRepairRun::~CRepairRun()
{
    if (m_worker.joinable())
        StopForGood();
}

bool CRepairRun::Start(const platform::RunSettings& settings)
{
    m_state = std::make_unique<platform::RunState>();
    m_summary = std::make_unique<recovery::CRunSummary>();
    m_completed = false;
    m_isOutputLost = false;
    m_collected = {};
    m_shown = {};
    try {
        m_worker = std::thread([this, settings] { Run(settings); });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void CRepairRun::Pause()
{
    if (m_state)
        m_state->gate.Close();
}

void CRepairRun::Resume()
{
    if (m_state)
        m_state->gate.Open();
}

void CRepairRun::RequestStop()
{
    if (m_state)
        m_state->stopRequested = true;
}

void CRepairRun::StopForGood()
{
    m_silent = true;
    RequestStop();
    Resume();
    // What the run has sent already waits for its answer here.
    const QDeadlineTimer deadline(kStopPatience);
    while (m_worker.joinable()) {
        if (deadline.hasExpired())
            std::_Exit(EXIT_SUCCESS);
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

template <class Function>
void CRepairRun::OnWindows(Function function)
{
    m_state->gate.Pass();
    if (m_silent)
        return;
    // Asked again there: the program may have begun to end meanwhile.
    const auto unlessSilent = [&] {
        if (!m_silent)
            function();
    };
    QMetaObject::invokeMethod(this, unlessSilent, Qt::BlockingQueuedConnection);
}

void CRepairRun::Run(const platform::RunSettings& settings)
{
    try {
        m_engine.Run(settings, *m_state);
        Conclude();
    } catch (const std::exception& error) {
        Tell(QString::fromUtf8(error.what()));
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_worker.join();
            if (!m_silent)
                m_windows.RunIsOver(m_state->hasOutput && !m_isOutputLost ? m_state->outputPath
                                                                          : std::filesystem::path());
        },
        Qt::QueuedConnection);
}

void CRepairRun::Conclude()
{
    const bool wasStopped = m_state->stopRequested && !m_completed;
    if (m_state->outputPath.empty() || m_state->failed || !(m_completed || wasStopped))
        return;
    std::error_code error;
    if (m_completed && !std::filesystem::exists(m_state->outputPath, error)) {
        // Somebody has taken it away while the run was writing into it.
        TellOfOutput("The new store is no longer at its place: ");
        return;
    }
    const auto counts = m_summary->Write(m_component, m_fileSystem, *m_state,
                                         [] { return std::chrono::system_clock::now(); });
    OnWindows([&] { m_windows.ShowCounts(counts); });
    if (!m_completed)
        return;
    if (!counts.opened) {
        TellOfOutput("The new store cannot be opened: ");
        return;
    }
    RunResult result{.counts = counts, .outputFolder = m_state->outputFolder};
    if (const auto& account = m_recovery.Account()) {
        result.account = account->Total();
        result.report = m_state->outputFolder / recovery::complete::kReportFileName;
    }
    OnWindows([&] { m_windows.ShowCompletion(result); });
}

void CRepairRun::TellOfOutput(const char* text)
{
    m_isOutputLost = true;
    Tell(QString::fromLatin1(text) + ShownPath(m_state->outputPath));
}

void CRepairRun::Tell(const QString& error)
{
    OnWindows([&] {
        m_windows.EndProgress();
        m_windows.ShowRunBox(error, Text(strings::kError), QMessageBox::Critical);
    });
}

void CRepairRun::Send(const platform::Message& message)
{
    if (const auto* folder = std::get_if<platform::FolderMessage>(&message)) {
        m_summary->Note(*folder);
        Collect(*folder);
    } else if (const auto* cell = std::get_if<platform::ListCellMessage>(&message)) {
        Collect(*cell);
    } else if (const auto* orphan = std::get_if<platform::OrphanRowMessage>(&message)) {
        Collect(*orphan);
    } else if (std::holds_alternative<platform::CompletionMessage>(message)) {
        m_completed = true;
    } else {
        ShowCollected();
        OnWindows([&] { Handle(message); });
    }
}

/// A call of the windows for each of four cells a mail would set the pace of the run.
void CRepairRun::Collect(RunPreview::Message message)
{
    m_collected.messages.push_back(std::move(message));
    if (std::chrono::steady_clock::now() - m_shown > kShowTime)
        ShowCollected();
}

void CRepairRun::ShowCollected()
{
    if (m_collected.messages.empty())
        return;
    m_collected.storeName = m_state->storeName;
    OnWindows([&] { m_windows.ShowRecovered(m_collected); });
    m_collected.messages.clear();
    m_shown = std::chrono::steady_clock::now();
}

void CRepairRun::Handle(const platform::Message& message)
{
    std::visit(
        [this](const auto& sent) {
            using Sent = std::decay_t<decltype(sent)>;
            if constexpr (std::is_same_v<Sent, platform::PhaseMessage>)
                m_windows.ShowPhase(sent.phase, sent.closing);
            else if constexpr (std::is_same_v<Sent, platform::PercentMessage>)
                m_windows.ShowPercent(sent.percent);
            else if constexpr (std::is_same_v<Sent, platform::RunEndedMessage> ||
                               std::is_same_v<Sent, platform::CloseProgressMessage>)
                m_windows.EndProgress();
            else if constexpr (std::is_same_v<Sent, platform::ClearListMessage>)
                m_windows.ClearList();
            else if constexpr (std::is_same_v<Sent, platform::BoxMessage>)
                m_windows.ShowRunBox(WithShownPath(sent.text, m_state->outputPath), Text(sent.caption),
                                     sent.icon == platform::BoxMessage::Icon::Error
                                         ? QMessageBox::Critical
                                         : QMessageBox::Information);
        },
        message);
}

}  // namespace pastille::app
