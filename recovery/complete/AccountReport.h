#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "format/Crypt.h"
#include "platform/FileSystem.h"
#include "recovery/complete/Account.h"
#include "store/complete/CompleteScan.h"

namespace pastille::recovery::complete {

inline constexpr const char* kReportFileName = "report.json";
/// Of the report's form; changes when a reader of the older form would misread it.
inline constexpr unsigned kReportVersion = 1;

/// What a report tells beside the account.
struct ReportFacts {
    std::filesystem::path source, output;
    std::uint64_t sourceSize = 0;  ///< bytes
    store::complete::FileType type{};
    format::CryptMethod method = format::CryptMethod::None;
    bool smartScan = false;
    bool isFinished = false;  ///< the run came to its end
    std::uint64_t attachments = 0;
    std::uint64_t embeddedMessages = 0;
    std::optional<std::uint64_t> damagedNodePages;  ///< of the source's node tree, missing ones too
};

/// The report as JSON (UTF-8), as docs/manual/json.md describes it.
std::string ReportText(const CAccount& account, const ReportFacts& facts);
/// Writes it. A report that cannot be written disturbs nothing; false then.
bool WriteReport(platform::IFileSystem& fileSystem, const std::filesystem::path& path,
                 const std::string& report);

}  // namespace pastille::recovery::complete
