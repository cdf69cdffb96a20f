#include "cli/RunDisplay.h"

#include "cli/TerminalText.h"
#include "platform/Text.h"

#include <condition_variable>
#include <mutex>
#include <ostream>
#include <stop_token>
#include <variant>

namespace pastille::cli {
namespace {

void TickEverySecond(const std::stop_token& stop, CProgressLine& progress)
{
    std::mutex mutex;
    std::condition_variable_any wakeUp;
    std::unique_lock lock(mutex);
    while (!stop.stop_requested()) {
        wakeUp.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
        progress.Tick();
    }
}

template <class... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

}  // namespace

CRunDisplay::CRunDisplay(std::ostream& err, CProgressLine::Mode mode, const PhaseCaptions& captions)
    : m_err(err), m_progress(err, mode, captions)
{
    if (mode == CProgressLine::Mode::InPlace)
        m_timer = std::jthread([this](const std::stop_token& stop) { TickEverySecond(stop, m_progress); });
}

void CRunDisplay::Send(const platform::Message& message)
{
    std::visit(
        Overloaded{
            [this](const platform::PhaseMessage& phase) {
                if (!phase.closing)
                    m_lastPhase = phase.phase;
                m_progress.BeginPhase(phase.phase, phase.closing);
            },
            [this](const platform::PercentMessage& percent) { m_progress.SetPercent(percent.percent); },
            [this](const platform::RunEndedMessage&) { m_progress.End(); },
            [this](const platform::CloseProgressMessage&) { m_progress.End(); },
            [this](const platform::BoxMessage& box) { Show(box); },
            [this](const platform::FolderMessage& folder) { m_summary.Note(folder); },
            [this](const platform::CompletionMessage&) { m_completed = true; },
            [](const auto&) {},
        },
        message);
}

void CRunDisplay::ShowError(const std::string& text)
{
    Show({platform::FromUtf8(text), u"Error", platform::BoxMessage::Icon::Error});
}

void CRunDisplay::Show(const platform::BoxMessage& box)
{
    m_progress.End();
    const bool isError = box.icon == platform::BoxMessage::Icon::Error;
    m_errorShown = m_errorShown || isError;
    m_texts.push_back(platform::ToUtf8(box.text));
    m_err << (isError ? "Error: " : "") << Printable(m_texts.back(), LineBreaks::Keep) << std::endl;
}

}  // namespace pastille::cli
