#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "check/Finding.h"
#include "platform/FileSystem.h"

namespace pastille::cli {

/// What the command line tells of a store that it has checked.
struct CheckReport {
    enum class Status {
        Sound,       ///< no finding
        Warnings,    ///< nothing but warnings
        Errors,      ///< at least one error
        Unreadable,  ///< cannot be opened, or is no store
    };

    Status status = Status::Unreadable;
    std::vector<std::string> messages{};  ///< why the file could not be checked, UTF-8
    std::filesystem::path path;
    check::CFindings findings;
};

/// Checks the store at `path`, which is only read. Never throws for what the file holds.
CheckReport CheckFile(platform::IFileSystem& files, const std::filesystem::path& path);

/// For people: a line for each finding that was kept, and one that sums up.
void WriteText(std::ostream& out, const CheckReport& report);
/// One JSON object of ASCII characters.
void WriteJson(std::ostream& out, const CheckReport& report);
/// The object as WriteJson prints it.
std::string JsonText(const CheckReport& report);

/// "sound" or how many errors and warnings there are, as one phrase.
std::string Summary(const CheckReport& report);

}  // namespace pastille::cli
