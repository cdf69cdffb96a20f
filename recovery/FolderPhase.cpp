#include "recovery/FolderPhase.h"

#include "recovery/FolderCollector.h"

namespace pastille::recovery {
namespace {

using namespace writer;

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

Variant NewFolderType(const FolderRecord& folder)
{
    for (const NamedKind& named : kNamedKinds) {
        if (named.name == folder.name)
            return named.kind;
    }
    return folder.containerClass;
}

void CFolderPhase::Run()
{
    if (m_run.state.MustStop() || m_run.state.failed)
        return;
    if (!CFolderCollector(m_run, m_recovery.folders).Run())
        return;
    m_recovery.log.Write(u"\r\n\r\n---------Recovering name of folders and mail items---------");
    CreateFolders();
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
    siblings->AddFolder(name, NewFolderType(folder));
    if (!siblings->GetFolder(index))
        return;
    ++m_recovery.figures.folders;
    ++m_recovery.figures.foldersCreated;
    m_recovery.log.Write(u"\r\n" + LogName(name));
}

}  // namespace pastille::recovery
