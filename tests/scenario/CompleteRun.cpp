#include "tests/scenario/CompleteRun.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>

#include "platform/Text.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {
namespace {

using nlohmann::json;

std::string HexOf(std::uint32_t nid)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%X", nid);
    return text.data();
}

/// The path of a folder with one separator, whether the store's or the report's or one in its name.
std::string ReportPath(std::string path)
{
    std::erase_if(path, [](unsigned char byte) { return byte < 0x20; });  // a store takes none of these
    std::ranges::replace(path, '/', '\\');
    return path;
}

}  // namespace

CCompleteRun::CCompleteRun(const Bytes& source, const CompleteOptions& options)
    : m_repair(source, options.kind == platform::SourceKind::Ost ? "source.ost" : "source.pst")
{
    m_repair.settings.complete = true;
    m_repair.settings.smartScan = options.smartScan;
    m_repair.settings.kind = options.kind;
    m_repair.Run();
    EXPECT_FALSE(m_repair.state.failed) << m_repair.frontEnd.Boxes();
    EXPECT_EQ(m_repair.frontEnd.completions, 1);
    if (!m_repair.HasResult())
        return;
    const auto result = platform::HostFileSystem().OpenSource(m_repair.state.outputPath);
    EXPECT_EQ(CheckedStore(*result).errors, "");
    m_store = ReadWholeStore(m_repair.state.outputPath);
    EXPECT_TRUE(m_store.faults.empty()) << m_store.faults.front();
    std::ifstream report(m_repair.state.outputPath.parent_path() / "report.json");
    m_report = json::parse(report, nullptr, false);
    EXPECT_TRUE(m_report.is_object()) << "no report";
    if (m_report.is_object())
        CheckReport();
}

void CCompleteRun::CheckReport() const
{
    EXPECT_EQ(m_report["finished"], true);
    std::map<std::string, std::uint64_t> total;
    std::map<std::string, std::array<std::uint64_t, 2>> written;
    for (const json& folder : m_report["folders"]) {
        const std::string path = ReportPath(folder["path"]);
        for (const char* const kind : {"items", "associated"}) {
            const json& counts = folder[kind];
            EXPECT_EQ(counts["expected"], counts["written"].get<std::uint64_t>() + counts["lost"].get<int>())
                << path;
            EXPECT_LE(counts["written"], counts["found"]) << path;
            EXPECT_LE(counts["partial"], counts["written"]) << path;
            for (const auto& [name, count] : counts.items())
                total[name] += count.get<std::uint64_t>();
            written[path][kind == std::string_view("items") ? 0 : 1] +=
                counts["written"].get<std::uint64_t>();
        }
    }
    EXPECT_EQ(json(total), m_report["total"]) << m_report["total"];
    for (const auto& [path, folder] : m_store.folders) {
        for (const WholeMessage& item : folder.items)
            --written[ReportPath(path)][item.isAssociated ? 1 : 0];
    }
    for (const auto& [path, left] : written)
        EXPECT_EQ(left, (std::array<std::uint64_t, 2>{})) << "more or less than the report says in " << path;
    for (const json& loss : m_report["losses"]) {
        const bool tellsWhere =
            loss.value("why", "limit-reached") != "block-damaged" || loss.contains("offset");
        EXPECT_TRUE(tellsWhere) << loss;
    }
}

std::vector<json> CCompleteRun::LossesOf(std::uint32_t nid, std::string_view subject) const
{
    std::vector<json> losses;
    for (const json& loss : m_report["losses"]) {
        if (loss.value("node", "") == HexOf(nid) || loss.value("subject", "?") == subject)
            losses.push_back(loss);
    }
    return losses;
}

std::vector<json> CCompleteRun::LossesOf(std::string_view what) const
{
    std::vector<json> losses;
    for (const json& loss : m_report["losses"]) {
        if (loss["what"] == what)
            losses.push_back(loss);
    }
    return losses;
}

std::vector<const WholeMessage*> CCompleteRun::ItemsOf(std::u16string_view subject, std::string* folder) const
{
    std::vector<const WholeMessage*> items;
    for (const auto& [path, found] : m_store.folders) {
        for (const WholeMessage& item : found.items) {
            if (TextOf(item.properties, format::pid::kSubject) != subject)
                continue;
            items.push_back(&item);
            if (folder != nullptr)
                *folder = path;
        }
    }
    return items;
}

}  // namespace pastille::tests
