#include "cli/ProgressLine.h"

#include "cli/TerminalText.h"

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <utility>

namespace pastille::cli {
namespace {

constexpr auto kShortestPause = std::chrono::milliseconds(100);

}  // namespace

std::string PhaseCaptions::Line(unsigned phase, bool isClosing) const
{
    const auto isCounted = [](const char* caption) { return *caption != '\0'; };
    const std::size_t shown = std::min<std::size_t>(phase, phases.size() - 1);
    const auto number = std::count_if(phases.begin(), phases.begin() + shown + 1, isCounted);
    const auto all = std::ranges::count_if(phases, isCounted);
    return "Phase " + std::to_string(number) + " of " + std::to_string(all) + ": " +
           (isClosing ? closing : phases[shown]);
}

CProgressLine::CProgressLine(std::ostream& stream, Mode mode, const PhaseCaptions& captions, Clock clock)
    : m_stream(stream), m_mode(mode), m_captions(captions), m_clock(std::move(clock)), m_start(m_clock())
{
}

void CProgressLine::BeginPhase(unsigned phase, bool closing)
{
    std::scoped_lock lock(m_mutex);
    m_caption = m_captions.Line(phase, closing);
    m_percent.reset();
    if (m_mode == Mode::LinePerPhase)
        m_stream << Elapsed() << "  " << m_caption << std::endl;
    DrawUnlessJustDrawn();
}

void CProgressLine::SetPercent(unsigned percent)
{
    std::scoped_lock lock(m_mutex);
    if (percent > 100)
        return;
    m_percent = percent;
    DrawUnlessJustDrawn();
}

void CProgressLine::Tick()
{
    std::scoped_lock lock(m_mutex);
    DrawUnlessJustDrawn();
}

void CProgressLine::End()
{
    std::scoped_lock lock(m_mutex);
    if (m_mode == Mode::InPlace && !m_caption.empty()) {
        Draw();
        m_stream << std::endl;
    }
    m_mode = Mode::Silent;
}

void CProgressLine::DrawUnlessJustDrawn()
{
    if (m_mode == Mode::InPlace && !m_caption.empty() &&
        (!m_lastDrawn || m_clock() - *m_lastDrawn >= kShortestPause))
        Draw();
}

void CProgressLine::Draw()
{
    std::string line = Elapsed() + "  " + m_caption;
    if (m_percent)
        line += "  " + std::to_string(*m_percent) + "%";
    m_lastDrawn = m_clock();
    if (line == m_shown)
        return;
    // To the start of the line, and after the text erase what is left of a longer one before.
    m_stream << '\r' << line << "\x1B[K" << std::flush;
    m_shown = std::move(line);
}

std::string CProgressLine::Elapsed() const
{
    return ElapsedText(m_clock() - m_start);
}

}  // namespace pastille::cli
