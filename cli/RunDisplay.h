#pragma once

#include <iosfwd>
#include <string>
#include <thread>
#include <vector>

#include "cli/ProgressLine.h"
#include "platform/Messages.h"
#include "recovery/RunSummary.h"

namespace pastille::cli {

inline constexpr unsigned kValidationPhase = 2;

/// The command line's side of a run: a progress line, and boxes as text on the error stream. Remembers what
/// the run told, for the report after it.
class CRunDisplay final : public platform::IFrontEnd {
public:
    /// The stream must outlive this object.
    CRunDisplay(std::ostream& err, CProgressLine::Mode mode, const PhaseCaptions& captions = kRepairCaptions);

    void Send(const platform::Message& message) override;

    /// Shows a failure that the run did not show itself.
    void ShowError(const std::string& text);

    /// Texts of the boxes, UTF-8, in order.
    const std::vector<std::string>& Texts() const { return m_texts; }
    bool Completed() const { return m_completed; }
    bool ErrorShown() const { return m_errorShown; }
    /// The phase begun last, the closing step aside; 0 before the first.
    unsigned LastPhase() const { return m_lastPhase; }
    /// Knows every folder that the run announced.
    const recovery::CRunSummary& Summary() const { return m_summary; }

private:
    void Show(const platform::BoxMessage& box);

    std::ostream& m_err;
    CProgressLine m_progress;
    recovery::CRunSummary m_summary;
    std::vector<std::string> m_texts;
    bool m_completed = false;
    bool m_errorShown = false;
    unsigned m_lastPhase = 0;
    std::jthread m_timer;  ///< keeps the elapsed time moving; last, because it uses the progress line
};

}  // namespace pastille::cli
