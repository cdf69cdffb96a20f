#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "cli/CheckReport.h"
#include "cli/RunStatus.h"
#include "recovery/RunSummary.h"
#include "recovery/complete/Account.h"
#include "store/OutLook.h"

namespace pastille::cli {

/// What the command line tells of a run after it.
struct RunReport {
    RunStatus status = RunStatus::Failed;
    const char* reason = nullptr;       ///< what of the new store ended the run early, see ReasonText
    std::vector<std::string> messages;  ///< texts shown, UTF-8, in order
    std::filesystem::path sourcePath;
    bool complete = false;             ///< what was asked for: a complete recovery
    std::filesystem::path outputPath;  ///< empty when the run did not come so far; likewise below
    std::filesystem::path logPath;
    std::optional<store::RunFigures> figures;        ///< once the source was recognised
    std::optional<std::uint64_t> folders;            ///< of the source, that exist in the new store
    std::optional<recovery::SummaryCounts> summary;  ///< when the new store could be counted
    /// Of a complete recovery, with the file that tells every loss.
    std::optional<recovery::complete::CAccount> account;
    std::filesystem::path accountPath;
    std::optional<CheckReport> check;  ///< of the new store, when that was asked for
};

/// For people: where the result lies and what it holds.
void WriteText(std::ostream& out, const RunReport& report);
/// One JSON object of ASCII characters. Everything that is not known is null.
void WriteJson(std::ostream& out, const RunReport& report);

}  // namespace pastille::cli
