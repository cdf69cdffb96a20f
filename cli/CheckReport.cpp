#include "cli/CheckReport.h"

#include "check/Check.h"
#include "cli/TerminalText.h"
#include "platform/Text.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace pastille::cli {
namespace {

using Json = nlohmann::ordered_json;
using check::Severity;

const char* SeverityText(const check::Rule& rule)
{
    return rule.severity == Severity::Error ? "error" : "warning";
}

const char* StatusText(CheckReport::Status status)
{
    switch (status) {
        case CheckReport::Status::Sound:
            return "sound";
        case CheckReport::Status::Warnings:
            return "warnings";
        case CheckReport::Status::Errors:
            return "errors";
        case CheckReport::Status::Unreadable:
            break;
    }
    return "unreadable";
}

std::string Counted(std::uint64_t count, const char* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

CheckReport::Status StatusOf(const check::CFindings& findings)
{
    if (findings.Count(Severity::Error) != 0)
        return CheckReport::Status::Errors;
    return findings.Count(Severity::Warning) != 0 ? CheckReport::Status::Warnings
                                                  : CheckReport::Status::Sound;
}

}  // namespace

CheckReport CheckFile(platform::IFileSystem& files, const std::filesystem::path& path)
{
    CheckReport report;
    report.path = path;
    const auto source = files.OpenSource(path);
    if (!source) {
        report.messages.emplace_back("The file cannot be opened.");
        return report;
    }
    if (check::CheckStore(*source, report.findings))
        report.status = StatusOf(report.findings);
    else
        report.messages.emplace_back("The file cannot be read as a store.");
    return report;
}

std::string Summary(const CheckReport& report)
{
    if (report.status == CheckReport::Status::Unreadable)
        return report.messages.empty() ? "not checked" : report.messages.front();
    if (report.status == CheckReport::Status::Sound)
        return "sound";
    return Counted(report.findings.Count(Severity::Error), "error") + ", " +
           Counted(report.findings.Count(Severity::Warning), "warning");
}

void WriteText(std::ostream& out, const CheckReport& report)
{
    for (const check::Finding& finding : report.findings.Kept()) {
        out << SeverityText(*finding.rule) << ' ' << finding.rule->code << ": "
            << Printable(finding.place, LineBreaks::Escape) << ": " << finding.rule->sentence;
        if (!finding.detail.empty())
            out << " (" << Printable(finding.detail, LineBreaks::Escape) << ')';
        out << '\n';
    }
    for (const auto& [rule, count] : report.findings.Counts()) {
        if (count > check::CFindings::kMostPerRule)
            out << SeverityText(*rule) << ' ' << rule->code << ": and "
                << count - check::CFindings::kMostPerRule << " more\n";
    }
    out << Printable(platform::PathBytes(report.path), LineBreaks::Escape) << ": " << Summary(report) << '\n'
        << std::flush;
}

std::string JsonText(const CheckReport& report)
{
    Json object = Json::object();
    object["status"] = StatusText(report.status);
    object["messages"] = report.messages;
    object["file"] = report.path.empty() ? Json(nullptr) : Json(platform::PathBytes(report.path));
    object["errors"] = report.findings.Count(Severity::Error);
    object["warnings"] = report.findings.Count(Severity::Warning);
    Json& rules = object["rules"] = Json::array();
    for (const auto& [rule, count] : report.findings.Counts())
        rules.push_back({{"code", rule->code}, {"severity", SeverityText(*rule)}, {"count", count}});
    Json& findings = object["findings"] = Json::array();
    for (const check::Finding& finding : report.findings.Kept())
        findings.push_back({{"code", finding.rule->code},
                            {"severity", SeverityText(*finding.rule)},
                            {"place", finding.place},
                            {"sentence", finding.rule->sentence},
                            {"detail", finding.detail}});
    return object.dump(2, ' ', true, Json::error_handler_t::replace);
}

void WriteJson(std::ostream& out, const CheckReport& report)
{
    out << JsonText(report) << std::endl;
}

}  // namespace pastille::cli
