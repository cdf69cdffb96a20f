#include "recovery/Survey.h"

#include <algorithm>
#include <utility>

#include "format/PropertyIds.h"
#include "recovery/FolderCollector.h"
#include "recovery/ItemRoute.h"
#include "recovery/Texts.h"

namespace pastille::recovery {
namespace {

constexpr unsigned kMapPhase = 7;
constexpr unsigned kCountPhase = 8;
constexpr unsigned kSurveyProgressStep = 0;

/// The class that an item ends up with. Of several in a damaged property context each one places the item
/// anew; one that cannot be read ends the item, but a mail that is there by then is kept.
std::optional<std::u16string> FinalClass(const CSourceItem& item)
{
    std::optional<std::u16string> found;
    for (const store::PropertyRecord& record : item.Records()) {
        if (record.id != format::pid::kMessageClass)
            continue;
        auto text = item.MessageClass(record);
        if (!text)
            return found && JudgeClass(*found).family == ItemFamily::Mail ? found : std::nullopt;
        found = std::move(text);
    }
    return found;
}

std::uint64_t RouteKey(std::uint32_t parentNid, const ItemRoute& route)
{
    return (std::uint64_t{parentNid} << 32) | static_cast<std::uint32_t>(route.defaultFolderKind);
}

std::u16string RootFolderPath(std::u16string_view name)
{
    return std::u16string(u"\\").append(name);
}

/// The separator counts less than any other character, so that what lies below a folder follows it at once.
bool ComesBefore(std::u16string_view left, std::u16string_view right)
{
    const auto weight = [](char16_t unit) { return unit == u'\\' ? -1 : static_cast<int>(unit); };
    return std::ranges::lexicographical_compare(left, right, {}, weight, weight);
}

}  // namespace

void CClassCounts::Add(const std::u16string& messageClass)
{
    constexpr std::size_t kMostClasses = 1000, kLongestClass = 255;
    const std::u16string name = messageClass.substr(0, kLongestClass);
    const auto known = m_classes.find(name);
    if (known != m_classes.end())
        ++known->second;
    else if (m_classes.size() < kMostClasses)
        m_classes.emplace(name, 1);
    else
        ++m_others;
}

void CSurvey::SetUpOutput(store::RunContext&)
{
    m_folders.Clear();
    m_folderIndex.clear();
    m_folderCharacters = 0;
    m_targets.clear();
    m_findings.reset();
}

void CSurvey::CollectFolders(store::RunContext& run)
{
    if (run.state.MustStop() || run.state.failed)
        return;
    CFolderCollector(run, m_folders).Run();
    m_folders.Arrange();
}

void CSurvey::RecoverItems(store::RunContext& run)
{
    if (run.state.MustStop() || run.state.failed)
        return;
    store::CSourceStore& source = run.source;
    SurveyFindings findings;
    run.BeginPhase(kMapPhase);
    auto map = store::MapDamage(source, [&](std::uint64_t offset) {
        run.ReportPercent(store::Percentage(offset, source.file.Size() / 100), kSurveyProgressStep);
        return !run.state.MustStop();
    });
    if (!map)
        return;
    findings.map = *std::move(map);
    run.BeginPhase(kCountPhase);
    if (!CountItems(run, findings))
        return;
    findings.isCryptMethodKnown = !source.reader.IsMethodPending();
    std::ranges::sort(findings.folders, ComesBefore, &SurveyFindings::Folder::path);
    findings.kind = source.reader.Kind();
    findings.fileSize = source.file.Size();
    findings.unreadable = source.file.UnreadableRanges();
    m_findings = std::move(findings);
}

bool CSurvey::CountItems(store::RunContext& run, SurveyFindings& findings)
{
    for (const FolderRecord& folder : m_folders.Records()) {
        if (IsFull())
            break;  // paths are long to build, too
        const auto path = m_folders.Path(folder.nodeId);
        if (path && !path->empty())
            FolderAt(*path, findings);
    }
    const store::CSourceStore& source = run.source;
    const writer::CRef<writer::IStoreFolder> noTarget;
    CSourceItem item(run.source, noTarget);
    const std::uint64_t all = source.nodes.Size() + source.orphans.size();
    std::uint64_t done = 0;
    const auto goOn = [&] {
        run.ReportPercent(store::Percentage(100 * done++, all), kSurveyProgressStep);
        return !run.state.MustStop();
    };
    for (const store::NodeRecord& node : source.nodes) {
        if (!goOn())
            return false;
        if (!node.removed && item.Open(node.bidData, node.bidSub))
            CountNode(item, node.nidParent, findings);
    }
    if (!run.settings.smartScan)
        return !run.state.MustStop();
    const std::size_t folder = FolderAt(RootFolderPath(kOrphanedMails), findings);
    for (const store::OrphanRecord& orphan : source.orphans) {
        if (!goOn())
            return false;
        if (item.Open(orphan.bidData, orphan.bidSub))
            CountOrphan(item, folder, findings);
    }
    return !run.state.MustStop();
}

void CSurvey::CountNode(const CSourceItem& item, std::uint32_t parentNid, SurveyFindings& findings)
{
    const auto messageClass = FinalClass(item);
    if (!messageClass)
        return;
    const ClassJudgement judgement = JudgeClass(*messageClass);
    const auto route = RouteOf(m_folders, *messageClass, parentNid);
    std::size_t folder = 0;
    switch (PlaceOf(judgement, route.has_value())) {
        case ItemPlace::Nowhere:
            findings.skippedClasses.Add(*messageClass);
            return;
        case ItemPlace::Fallback:
            folder = FolderAt(RootFolderPath(kLostAndFound), findings);
            ++findings.lostAndFound;
            break;
        case ItemPlace::Folder: {
            const auto [known, isNew] = m_targets.try_emplace(RouteKey(parentNid, *route));
            if (isNew)
                known->second = FolderAt(PathOf(*route), findings);
            folder = known->second;
            break;
        }
    }
    AddItem(folder, *messageClass, judgement.family, findings);
}

void CSurvey::CountOrphan(const CSourceItem& item, std::size_t folder, SurveyFindings& findings)
{
    const auto messageClass = FinalClass(item);
    if (!messageClass)
        return;
    const ClassJudgement judgement = JudgeClass(*messageClass);
    if (!IsOrphanMade(judgement)) {
        findings.skippedClasses.Add(*messageClass);
        return;
    }
    ++findings.orphanedMails;
    AddItem(folder, *messageClass, judgement.family, findings);
}

void CSurvey::AddItem(std::size_t folder, const std::u16string& messageClass, ItemFamily family,
                      SurveyFindings& findings)
{
    ++findings.items;
    ++findings.folders[folder].items;
    ++findings.families[static_cast<std::size_t>(family)];
    findings.classes.Add(messageClass);
}

/// Paths are long and many where folders are nested to hurt: of long ones both ends tell enough, and beyond a
/// number of characters the rest is one folder.
std::size_t CSurvey::FolderAt(std::u16string path, SurveyFindings& findings)
{
    constexpr std::size_t kLongestShown = 1000, kEndShown = 700;
    if (path.size() > kLongestShown)
        path = path.substr(0, kLongestShown - kEndShown) + u"..." + path.substr(path.size() - kEndShown);
    if (IsFull() && !m_folderIndex.contains(path))
        path = u"\\...";
    const auto [known, isNew] = m_folderIndex.emplace(path, findings.folders.size());
    if (isNew) {
        findings.folders.push_back({path});
        m_folderCharacters += path.size() + 1;
    }
    return known->second;
}

}  // namespace pastille::recovery
