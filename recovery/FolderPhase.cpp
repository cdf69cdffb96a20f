#include "recovery/FolderPhase.h"

#include <exception>
#include <utility>

#include "format/Ids.h"
#include "store/FolderProperties.h"
#include "store/NamedProperties.h"

namespace pastille::recovery {
namespace {

using namespace writer;

constexpr std::u16string_view kSourceRootName = u"Top of Personal Folders";
constexpr unsigned kProgressStep = 4;
/// Old copies of the name map add little; thousands of them are no accident.
constexpr unsigned kMostMapCopies = 64;

/// Folders that are of a kind of their own by their name.
struct NamedKind {
    std::u16string_view name;
    std::int32_t kind;
};
constexpr NamedKind kNamedKinds[] = {
    {u"Deleted Items", folderkind::kDeletedItems},   {u"Folder Conflicts", folderkind::kFolderConflicts},
    {u"Local Failures", folderkind::kLocalFailures}, {u"Server Failures", folderkind::kServerFailures},
    {u"Sync Issues", folderkind::kSyncIssues},
};

Variant FolderType(const FolderRecord& folder)
{
    for (const NamedKind& named : kNamedKinds) {
        if (named.name == folder.name)
            return named.kind;
    }
    return folder.containerClass;
}

struct SplitPath {
    std::u16string_view parent;
    std::u16string_view name;
};

/// Splits at the last "\", which every path but the empty one has.
SplitPath SplitAtName(std::u16string_view path)
{
    const auto separator = path.rfind(u'\\');
    if (separator == std::u16string_view::npos)
        return {{}, path};
    return {path.substr(0, separator), path.substr(separator + 1)};
}

}  // namespace

void CFolderPhase::Run()
{
    if (m_run.state.MustStop() || m_run.state.failed)
        return;
    m_run.BeginPhase(6);
    bool stopped = false;
    try {
        stopped = !CollectNames();
    } catch (const std::exception&) {
        // What was collected so far is worth recovering.
    }
    if (stopped)
        return;
    m_recovery.log.Write(u"\r\n\r\n---------Recovering name of folders and mail items---------");
    CreateFolders();
}

bool CFolderPhase::CollectNames()
{
    store::CSourceStore& source = m_run.source;
    for (std::size_t i = 0; i < source.nodes.Size(); ++i) {
        if (m_run.state.MustStop())
            return false;
        const store::NodeRecord node = source.nodes[i];
        const bool isCandidate = node.bidData != 0 && node.nidParent != 0 && node.nid != node.nidParent;
        if (!node.removed && !(isCandidate && m_recovery.folders.Contains(node.nid))) {
            const bool isFolder = isCandidate && TakeFolder(node);
            if (node.nid == format::nids::kNameToIdMap.value && m_mapsRead++ < kMostMapCopies)
                store::ReadNamedProperties(source.reader, node.bidData, node.bidSub, source.namedProperties);
            const bool isListHead = i == 0;
            if ((isFolder || node.nidParent == 0) && !isListHead) {
                --source.nodeCount;
                source.nodes.Remove(i);
            }
        }
        ReportProgress(i + 1);
    }
    return true;
}

bool CFolderPhase::TakeFolder(const store::NodeRecord& node)
{
    store::CSourceStore& source = m_run.source;
    const auto block = source.reader.Find(node.bidData);
    if (!block)
        return false;
    if (source.reader.IsMethodPending() && !source.reader.DetectCryptMethod(*block))
        return false;
    auto properties = store::ReadFolderProperties(source.reader, *block, source.codePage);
    if (!properties || properties->name.empty())
        return false;
    if (properties->name == kSourceRootName)
        m_recovery.folders.SetRoot(node.nid);
    m_recovery.folders.Add(
        {node.nid, node.nidParent, std::move(properties->name), std::move(properties->containerClass)});
    return true;
}

void CFolderPhase::ReportProgress(std::size_t visited)
{
    constexpr std::uint32_t kFewNodes = 101;
    const store::CSourceStore& source = m_run.source;
    m_run.ReportPercent(source.nodeCount < kFewNodes ? static_cast<unsigned>(visited)
                                                     : store::Percentage(visited, source.hundredth),
                        kProgressStep);
}

void CFolderPhase::CreateFolders()
{
    m_run.BeginPhase(7);
    m_recovery.folders.Arrange();
    for (const FolderRecord& folder : m_recovery.folders.Records()) {
        if (m_run.state.MustStop())
            return;
        const std::u16string path = m_recovery.folders.Path(folder.nodeId).value_or(std::u16string());
        if (path.empty())
            continue;  // the root of the new store stands for it
        try {
            CreateFolder(folder, path);
        } catch (const _com_error& error) {
            if (error.IsStorageFailure())
                throw;
            CreateWithStandIn(folder, path);
        }
    }
}

void CFolderPhase::CreateFolder(const FolderRecord& folder, const std::u16string& path)
{
    const SplitPath split = SplitAtName(path);
    m_recovery.output.target = m_recovery.output.Open(split.parent);
    MakeUnder(m_recovery.output.target, split.name, folder);
}

void CFolderPhase::CreateWithStandIn(const FolderRecord& folder, const std::u16string& path)
try {
    const SplitPath split = SplitAtName(path);
    if (const std::u16string standIn(SplitAtName(split.parent).name); !standIn.empty()) {
        const auto rootFolders = m_recovery.output.Open({})->GetFolders();
        if (!rootFolders->GetFolder(standIn))
            rootFolders->AddFolder(standIn, folder.containerClass);
    }
    CreateFolder(folder, path);
} catch (const _com_error& error) {
    if (error.IsStorageFailure())
        throw;
    // The folder stays away; its items find no target and go to the fallback folder.
}

void CFolderPhase::MakeUnder(const CRef<IStoreFolder>& parent, std::u16string_view name,
                             const FolderRecord& folder)
{
    const auto siblings = parent->GetFolders();
    const Variant index = std::u16string(name);
    if (siblings->GetFolder(index)) {
        ++m_recovery.figures.folders;
        return;
    }
    siblings->AddFolder(name, FolderType(folder));
    if (!siblings->GetFolder(index))
        return;
    ++m_recovery.figures.folders;
    ++m_recovery.figures.foldersCreated;
    m_recovery.log.Write(u"\r\n" + LogName(name));
}

}  // namespace pastille::recovery
