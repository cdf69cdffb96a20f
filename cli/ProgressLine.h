#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <string>

namespace pastille::cli {

/// What the phases of a run are called as it is shown. The run's phases without a caption are not counted.
struct PhaseCaptions {
    std::array<const char*, 9> phases;  ///< [1] to [8]; "" for none
    const char* closing;

    /// "Phase 4 of 8: Collecting NBT entries"
    std::string Line(unsigned phase, bool isClosing) const;
};
inline constexpr PhaseCaptions kRepairCaptions{
    {"", "Opening source file", "Validating pst file", "Creating new profile ", "Collecting NBT entries",
     "Collecting BBT entries", "Collecting folders name", "Creating folders", "Recovering Mail Items"},
    "Closing file"};
inline constexpr PhaseCaptions kScanCaptions{
    {"", "Opening source file", "Validating pst file", "", "Collecting NBT entries", "Collecting BBT entries",
     "Collecting folders name", "Checking pages and blocks", "Counting items"},
    "Closing file"};

/// Shows how far a run is: one line drawn again and again in place, or one line per phase. Every method may
/// be called from any thread.
class CProgressLine {
public:
    enum class Mode { Silent, LinePerPhase, InPlace };
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// The elapsed time counts from here. The stream must outlive this object.
    CProgressLine(std::ostream& stream, Mode mode, const PhaseCaptions& captions = kRepairCaptions,
                  Clock clock = std::chrono::steady_clock::now);

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
    PhaseCaptions m_captions;
    Clock m_clock;
    std::chrono::steady_clock::time_point m_start;
    std::optional<std::chrono::steady_clock::time_point> m_lastDrawn;
    std::string m_caption;
    std::string m_shown;
    std::optional<unsigned> m_percent;
};

}  // namespace pastille::cli
