#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <string>

namespace pastille::cli {

/// Shows how far a run is: one line drawn again and again in place, or one line per phase. Every method may
/// be called from any thread.
class CProgressLine {
public:
    enum class Mode { Silent, LinePerPhase, InPlace };
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// The elapsed time counts from here. The stream must outlive this object.
    CProgressLine(std::ostream& stream, Mode mode, Clock clock = std::chrono::steady_clock::now);

    /// Phase 1 to 8; `closing` for the step after the last.
    void BeginPhase(unsigned phase, bool closing);
    /// Values above 100 are ignored.
    void SetPercent(unsigned percent);
    /// Draws again when something changed since the line was drawn last. For a timer.
    void Tick();
    /// Leaves the last state on its line and shows nothing any more.
    void End();

private:
    void Draw();
    void DrawUnlessJustDrawn();
    std::string Elapsed() const;

    std::mutex m_mutex;
    std::ostream& m_stream;
    Mode m_mode;
    Clock m_clock;
    std::chrono::steady_clock::time_point m_start;
    std::optional<std::chrono::steady_clock::time_point> m_lastDrawn;
    std::string m_caption;
    std::string m_shown;
    std::optional<unsigned> m_percent;
};

}  // namespace pastille::cli
