#include "cli/ScanReport.h"

#include "cli/TerminalText.h"
#include "platform/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <ostream>
#include <string_view>

namespace pastille::cli {
namespace {

using Json = nlohmann::ordered_json;
using recovery::ItemFamily;
using recovery::SurveyFindings;
using store::DamageMap;

struct FamilyName {
    ItemFamily family;
    const char* label;
    const char* key;
};
constexpr std::array kFamilies{
    FamilyName{ItemFamily::Mail, "Emails", "emails"},
    FamilyName{ItemFamily::Contact, "Contacts", "contacts"},
    FamilyName{ItemFamily::Appointment, "Appointments", "appointments"},
    FamilyName{ItemFamily::Meeting, "Meeting messages", "meetings"},
    FamilyName{ItemFamily::Task, "Tasks", "tasks"},
    FamilyName{ItemFamily::Journal, "Journal entries", "journals"},
    FamilyName{ItemFamily::Note, "Notes", "notes"},
};
static_assert(kFamilies.size() == recovery::kItemFamilies);

std::uint64_t CountOf(const SurveyFindings& findings, ItemFamily family)
{
    return findings.families[static_cast<std::size_t>(family)];
}

std::string MapText(const DamageMap& map)
{
    std::string text;
    for (const DamageMap::Stretch stretch : map.stretches)
        text += stretch == DamageMap::Stretch::Good      ? '.'
                : stretch == DamageMap::Stretch::Damaged ? 'x'
                                                         : '?';
    return text;
}

const char* KindText(store::FileKind kind)
{
    return kind == store::FileKind::Ost ? "ost" : "pst";
}

std::string NameText(const std::u16string& name)
{
    return Printable(platform::ToUtf8(name), LineBreaks::Escape);
}

std::string FolderText(const std::u16string& path)
{
    return path.empty() ? "\\" : NameText(path);
}

/// With a "," after each thousand.
std::string Grouped(std::uint64_t number)
{
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, 1, ',');
    return digits;
}

// ---- for people

class CTextReport {
public:
    CTextReport(std::ostream& out, const ScanReport& report)
        : m_out(out), m_report(report), m_findings(*report.findings), m_figures(*report.figures)
    {
    }

    void Write()
    {
        WriteFile();
        WriteItems();
        WriteSkipped();
        WriteCondition();
        WriteMap();
        WriteDetails();
    }

private:
    void Title(std::string_view title) { m_out << '\n' << title << '\n'; }
    void Line(std::string label, const std::string& value)
    {
        constexpr std::size_t kLabelWidth = 24;
        label += ':';
        label.resize(std::max(label.size() + 1, kLabelWidth), ' ');
        m_out << "  " << label << value << '\n';
    }
    void Line(std::string label, std::uint64_t value) { Line(std::move(label), Grouped(value)); }
    void CountLine(std::uint64_t count, const std::string& what)
    {
        constexpr std::size_t kNumberWidth = 11;
        const std::string number = Grouped(count);
        m_out << std::string(kNumberWidth - std::min(kNumberWidth, number.size()), ' ') << number << "  "
              << what << '\n';
    }

    void WriteFile()
    {
        constexpr std::array kVariants{"", "ANSI (Outlook 97 to 2002)", "Unicode", "Unicode with 4 KB pages"};
        m_out << "File: " << Printable(platform::PathBytes(m_report.sourcePath), LineBreaks::Escape) << '\n';
        const bool isOst = m_findings.kind == store::FileKind::Ost;
        Line("Kind",
             std::string(isOst ? "OST, " : "PST, ") + kVariants[static_cast<std::size_t>(m_figures.variant)]);
        Line("Size", Grouped(m_findings.fileSize) + " bytes");
        constexpr std::array kEncodings{"none", "compressible (permute)", "high (cyclic)"};
        Line("Encryption", m_findings.isCryptMethodKnown
                               ? kEncodings.at(static_cast<std::size_t>(m_figures.cryptMethod))
                               : "unknown");
    }

    void WriteItems()
    {
        Title("What a repair would bring");
        Line("Items", m_findings.items);
        for (const FamilyName& name : kFamilies) {
            if (const std::uint64_t count = CountOf(m_findings, name.family); count != 0)
                Line(std::string("  ") + name.label, count);
        }
        if (m_findings.lostAndFound != 0)
            Line("Without their folder", Grouped(m_findings.lostAndFound) + ", in \"Lost & Found\"");
        if (m_report.smartScan)
            Line("Orphans", Grouped(m_findings.orphanedMails) + ", in \"Orphaned Mails\"");
        m_out << "  Old versions of an item that are still in the file count too. Not counted are "
                 "attachments, and\n"
                 "  the mails in \"Lost & Found\" that a repair makes to carry those of items that take "
                 "none.\n";
        if (!m_report.smartScan)
            m_out << "  With --smart, items that nothing refers to any more are looked for as well.\n";
        Title("Items by folder");
        for (const SurveyFindings::Folder& folder : m_findings.folders)
            CountLine(folder.items, FolderText(folder.path));
        Title("Items by message class");
        WriteClasses(m_findings.classes);
    }

    void WriteClasses(const recovery::CClassCounts& counts)
    {
        for (const auto& [name, count] : counts.Classes())
            CountLine(count, name.empty() ? "(none)" : NameText(name));
        if (counts.Others() != 0)
            CountLine(counts.Others(), "(other classes)");
    }

    void WriteSkipped()
    {
        if (m_findings.skippedClasses.IsEmpty())
            return;
        Title("Left out, because a repair does not bring them back");
        WriteClasses(m_findings.skippedClasses);
    }

    void WriteCondition()
    {
        Title("State of the file");
        Line("Header", m_findings.map.isHeaderSound ? "sound" : "damaged");
        Line("Damaged blocks", m_findings.map.damagedBlocks);
        Line("Damaged pages", m_findings.map.damagedPages);
        std::uint64_t unreadable = 0;
        for (const auto& range : m_findings.unreadable)
            unreadable += range.length;
        Line("Cannot be read", Grouped(unreadable) + " bytes");
        for (const auto& range : m_findings.unreadable)
            m_out << "    " << Grouped(range.length) << " bytes at offset " << Grouped(range.offset) << '\n';
        const auto declared = m_findings.map.declaredSize;
        if (declared && *declared > m_findings.fileSize)
            Line("Missing at the end", Grouped(*declared - m_findings.fileSize) + " bytes");
    }

    void WriteMap()
    {
        constexpr std::size_t kLineLength = 64;
        constexpr std::size_t kOffsetWidth = 9;
        const std::string map = MapText(m_findings.map);
        Title("Map of the file, one character for 1 MiB (. good, x damaged, ? cannot be read)");
        for (std::size_t at = 0; at < map.size(); at += kLineLength) {
            const std::string offset = Grouped(at);
            m_out << std::string(kOffsetWidth - std::min(kOffsetWidth, offset.size()), ' ') << offset
                  << " MiB  " << map.substr(at, kLineLength) << '\n';
        }
    }

    void WriteDetails()
    {
        Title("Details");
        WritePages("Node pages", m_figures.scan.nodePages);
        WritePages("Block pages", m_figures.scan.blockPages);
        Line("Nodes", m_figures.nodes);
        Line("Blocks", m_figures.blocks);
        const auto& scan = m_figures.scan;
        Line("Blocks named nowhere", Grouped(scan.strayBlocks - scan.doubtfulBlocks) + " sound, " +
                                         Grouped(scan.doubtfulBlocks) + " doubtful");
        if (m_report.smartScan)
            Line("Orphaned blocks", m_figures.orphans);
    }

    void WritePages(std::string label, const store::PageFindings& pages)
    {
        std::string text = Grouped(pages.accepted) + " used";
        if (pages.wrongSignature != 0)
            text += " (" + Grouped(pages.wrongSignature) + " with a wrong signature)";
        text += ", " + Grouped(pages.index) + " inner";
        if (pages.Refused() != 0)
            text += ", " + Grouped(pages.Refused()) + " refused: wrong entry size " +
                    Grouped(pages.refusedEntrySize) + ", wrong signature " + Grouped(pages.refusedSignature) +
                    ", wrong counts " + Grouped(pages.refusedCounts);
        Line(std::move(label), text);
        if (pages.entriesRefused != 0)
            Line("  entries refused", pages.entriesRefused);
    }

    std::ostream& m_out;
    const ScanReport& m_report;
    const SurveyFindings& m_findings;
    const store::RunFigures& m_figures;
};

// ---- JSON

Json PagesJson(const store::PageFindings& pages)
{
    return {{"accepted", pages.accepted},
            {"wrongSignature", pages.wrongSignature},
            {"inner", pages.index},
            {"entries", pages.entries},
            {"entriesRefused", pages.entriesRefused},
            {"refused",
             {{"entrySize", pages.refusedEntrySize},
              {"signature", pages.refusedSignature},
              {"counts", pages.refusedCounts}}}};
}

Json ClassesJson(const recovery::CClassCounts& counts)
{
    Json list = Json::array();
    for (const auto& [name, count] : counts.Classes())
        list.push_back({{"class", platform::ToUtf8(name)}, {"count", count}});
    if (counts.Others() != 0)
        list.push_back({{"class", nullptr}, {"count", counts.Others()}});
    return list;
}

void AddFigures(Json& object, const store::RunFigures& figures)
{
    object["variant"] = VariantText(figures.variant);
    object["nodes"] = figures.nodes;
    object["blocks"] = figures.blocks;
    object["strayBlocks"] = {{"sound", figures.scan.strayBlocks - figures.scan.doubtfulBlocks},
                             {"doubtful", figures.scan.doubtfulBlocks}};
    object["nodePages"] = PagesJson(figures.scan.nodePages);
    object["blockPages"] = PagesJson(figures.scan.blockPages);
    object["orphans"] = figures.orphans;
    const auto& seconds = figures.phaseSeconds;
    object["phaseSeconds"] = {{"validate", seconds[2]},  {"nodeScan", seconds[4]},
                              {"blockScan", seconds[5]}, {"folderNames", seconds[6]},
                              {"damageMap", seconds[7]}, {"items", seconds[8]}};
}

void AddFindings(Json& object, const SurveyFindings& findings, format::CryptMethod method)
{
    object["kind"] = KindText(findings.kind);
    object["fileSize"] = findings.fileSize;
    object["declaredSize"] = findings.map.declaredSize ? Json(*findings.map.declaredSize) : Json(nullptr);
    object["cryptMethod"] = findings.isCryptMethodKnown ? CryptMethodText(method) : "unknown";
    Json& items = object["items"] = {{"total", findings.items}};
    for (const FamilyName& name : kFamilies)
        items[name.key] = CountOf(findings, name.family);
    items["lostAndFound"] = findings.lostAndFound;
    items["orphanedMails"] = findings.orphanedMails;
    object["folders"] = Json::array();
    for (const SurveyFindings::Folder& folder : findings.folders)
        object["folders"].push_back({{"path", platform::ToUtf8(folder.path)}, {"items", folder.items}});
    object["classes"] = ClassesJson(findings.classes);
    object["skippedClasses"] = ClassesJson(findings.skippedClasses);
    object["unreadable"] = Json::array();
    for (const auto& range : findings.unreadable)
        object["unreadable"].push_back({{"offset", range.offset}, {"length", range.length}});
    object["damage"] = {{"header", !findings.map.isHeaderSound},
                        {"blocks", findings.map.damagedBlocks},
                        {"pages", findings.map.damagedPages},
                        {"stretchBytes", DamageMap::kStretchBytes},
                        {"map", MapText(findings.map)}};
}

}  // namespace

void WriteText(std::ostream& out, const ScanReport& report)
{
    if (report.findings && report.figures)
        CTextReport(out, report).Write();
    out << std::flush;
}

void WriteJson(std::ostream& out, const ScanReport& report)
{
    Json object = Json::object();
    object["status"] = StatusText(report.status);
    object["messages"] = report.messages;
    object["source"] =
        report.sourcePath.empty() ? Json(nullptr) : Json(platform::PathBytes(report.sourcePath));
    object["smartScan"] = report.smartScan;
    for (const char* key : {"kind", "fileSize", "declaredSize", "variant", "cryptMethod", "items", "folders",
                            "classes", "skippedClasses", "orphans", "unreadable", "damage", "nodes", "blocks",
                            "strayBlocks", "nodePages", "blockPages", "phaseSeconds"})
        object[key] = nullptr;
    if (report.figures)
        AddFigures(object, *report.figures);
    if (report.findings && report.figures)
        AddFindings(object, *report.findings, report.figures->cryptMethod);
    out << object.dump(2, ' ', true, Json::error_handler_t::replace) << std::endl;
}

}  // namespace pastille::cli
