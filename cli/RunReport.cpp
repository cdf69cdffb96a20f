#include "cli/RunReport.h"

#include "cli/TerminalText.h"
#include "platform/Text.h"

#include <nlohmann/json.hpp>

#include <array>
#include <iomanip>
#include <ostream>

namespace pastille::cli {
namespace {

using Json = nlohmann::ordered_json;

struct Count {
    const char* label;
    const char* key;
    std::uint64_t recovery::SummaryCounts::*value;
};
constexpr std::array kCounts{
    Count{"Emails", "emails", &recovery::SummaryCounts::mails},
    Count{"Contacts", "contacts", &recovery::SummaryCounts::contacts},
    Count{"Tasks", "tasks", &recovery::SummaryCounts::tasks},
    Count{"Calendar", "calendar", &recovery::SummaryCounts::calendar},
    Count{"Journals", "journals", &recovery::SummaryCounts::journals},
    Count{"Notes", "notes", &recovery::SummaryCounts::notes},
    Count{"Total items", "total", &recovery::SummaryCounts::total},
};

Json PathOrNull(const std::filesystem::path& path)
{
    return path.empty() ? Json(nullptr) : Json(platform::PathBytes(path));
}

Json PhaseSeconds(const std::array<double, 10>& seconds)
{
    constexpr std::array kNames{"open",        "validate",       "outputSetUp", "nodeScan", "blockScan",
                                "folderNames", "folderCreation", "items",       "closing"};
    Json all = Json::object();
    for (std::size_t i = 0; i < kNames.size(); ++i)
        all[kNames[i]] = seconds[i + 1];
    return all;
}

void AddFigures(Json& object, const std::optional<store::RunFigures>& figures)
{
    for (const char* key : {"variant", "cryptMethod", "nodes", "blocks", "orphans", "phaseSeconds"})
        object[key] = nullptr;
    if (!figures)
        return;
    object["variant"] = VariantText(figures->variant);
    object["cryptMethod"] = CryptMethodText(figures->cryptMethod);
    object["nodes"] = figures->nodes;
    object["blocks"] = figures->blocks;
    object["orphans"] = figures->orphans;
    object["phaseSeconds"] = PhaseSeconds(figures->phaseSeconds);
}

void AddSummary(Json& object, const std::optional<recovery::SummaryCounts>& summary)
{
    object["items"] = nullptr;
    if (!summary)
        return;
    for (const Count& count : kCounts)
        object["items"][count.key] = (*summary).*count.value;
}

using recovery::complete::FolderAccount;
using recovery::complete::ItemCounts;

struct AccountColumn {
    const char* name;
    std::uint64_t ItemCounts::*value;
};
constexpr std::array kAccountColumns{
    AccountColumn{"expected", &ItemCounts::expected}, AccountColumn{"found", &ItemCounts::found},
    AccountColumn{"written", &ItemCounts::written},   AccountColumn{"partial", &ItemCounts::partial},
    AccountColumn{"lost", &ItemCounts::lost},
};

void WriteAccountLine(std::ostream& out, const ItemCounts& counts, const std::string& name)
{
    for (const AccountColumn& column : kAccountColumns)
        out << std::right << std::setw(9) << counts.*column.value;
    out << "  " << name << '\n';
}

/// Folder by folder; hidden items count with the others.
void WriteAccount(std::ostream& out, const recovery::complete::CAccount& account)
{
    out << "\nComplete recovery (hidden items included):\n";
    for (const AccountColumn& column : kAccountColumns)
        out << std::right << std::setw(9) << column.name;
    out << "  folder\n";
    for (const FolderAccount& folder : account.Folders()) {
        ItemCounts counts = folder.items;
        counts.Add(folder.associated);
        if (counts.expected != 0)
            WriteAccountLine(
                out, counts,
                folder.path.empty() ? "\\" : Printable(platform::ToUtf8(folder.path), LineBreaks::Escape));
    }
    WriteAccountLine(out, account.Total(), "in all");
    if (const auto entries = account.Losses().size() + account.MoreLosses(); entries != 0)
        out << "The report tells what is missing (" << entries << " entries).\n";
    if (account.MissingAtEnd() != 0)
        out << "The source is cut: " << account.MissingAtEnd()
            << " bytes are missing at its end. Nobody can tell what lay there.\n";
}

void AddAccount(Json& object, const RunReport& report)
{
    object["report"] = PathOrNull(report.accountPath);
    object["account"] = nullptr;
    if (!report.account)
        return;
    const ItemCounts total = report.account->Total();
    for (const AccountColumn& column : kAccountColumns)
        object["account"][column.name] = total.*column.value;
}

}  // namespace

void WriteText(std::ostream& out, const RunReport& report)
{
    if (!report.outputPath.empty())
        out << "Output: " << Printable(platform::PathBytes(report.outputPath), LineBreaks::Escape) << '\n';
    if (!report.logPath.empty())
        out << "Log:    " << Printable(platform::PathBytes(report.logPath), LineBreaks::Escape) << '\n';
    if (!report.accountPath.empty())
        out << "Report: " << Printable(platform::PathBytes(report.accountPath), LineBreaks::Escape) << '\n';
    if (report.summary) {
        out << '\n';
        for (const Count& count : kCounts)
            out << std::left << std::setw(14) << (std::string(count.label) + " :")
                << (*report.summary).*count.value << '\n';
    }
    if (report.account)
        WriteAccount(out, *report.account);
    if (report.check) {
        out << "\nCheck:\n";
        WriteText(out, *report.check);
    }
    out << std::flush;
}

void WriteJson(std::ostream& out, const RunReport& report)
{
    Json object = Json::object();
    object["status"] = StatusText(report.status);
    object["reason"] = report.reason == nullptr ? Json(nullptr) : Json(report.reason);
    object["messages"] = report.messages;
    object["source"] = PathOrNull(report.sourcePath);
    object["complete"] = report.complete;
    object["output"] = PathOrNull(report.outputPath);
    object["log"] = PathOrNull(report.logPath);
    object["folders"] = report.folders ? Json(*report.folders) : Json(nullptr);
    AddSummary(object, report.summary);
    AddAccount(object, report);
    AddFigures(object, report.figures);
    object["check"] = report.check ? Json::parse(JsonText(*report.check)) : Json(nullptr);
    out << object.dump(2, ' ', true, Json::error_handler_t::replace) << std::endl;
}

}  // namespace pastille::cli
