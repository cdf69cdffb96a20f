#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "cli/RunStatus.h"
#include "recovery/Survey.h"
#include "store/OutLook.h"

namespace pastille::cli {

/// What the command line tells of a file that it has scanned.
struct ScanReport {
    RunStatus status = RunStatus::Failed;
    std::vector<std::string> messages;  ///< texts shown, UTF-8, in order
    std::filesystem::path sourcePath;
    bool smartScan = false;
    std::optional<store::RunFigures> figures;          ///< once the file was recognised
    std::optional<recovery::SurveyFindings> findings;  ///< when the scan came to its end
};

/// For people: what a repair would bring, and in what state the file is. Nothing when the scan did not come
/// to its end.
void WriteText(std::ostream& out, const ScanReport& report);
/// One JSON object of ASCII characters. Everything that is not known is null.
void WriteJson(std::ostream& out, const ScanReport& report);

}  // namespace pastille::cli
