#include "cli/ProgressLine.h"

#include "cli/TerminalText.h"

#include <array>
#include <ostream>
#include <utility>

namespace pastille::cli {
namespace {

constexpr auto kShortestPause = std::chrono::milliseconds(100);

constexpr std::array kCaptions{"",
                               "Opening source file",
                               "Validating pst file",
                               "Creating new profile ",
                               "Collecting NBT entries",
                               "Collecting BBT entries",
                               "Collecting folders name",
                               "Creating folders",
                               "Recovering Mail Items"};
constexpr const char* kClosingCaption = "Closing file";

}  // namespace

CProgressLine::CProgressLine(std::ostream& stream, Mode mode, Clock clock)
    : m_stream(stream), m_mode(mode), m_clock(std::move(clock)), m_start(m_clock())
{
}

void CProgressLine::BeginPhase(unsigned phase, bool closing)
{
    std::scoped_lock lock(m_mutex);
    const char* caption = closing ? kClosingCaption : phase < kCaptions.size() ? kCaptions[phase] : "";
    m_caption = "Phase " + std::to_string(phase) + " of 8: " + caption;
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
