#include "recovery/FolderCollector.h"

#include <exception>
#include <utility>

#include "format/Ids.h"
#include "store/DataTree.h"
#include "store/FolderProperties.h"
#include "store/NamedProperties.h"

namespace pastille::recovery {
namespace {

constexpr std::u16string_view kSourceRootName = u"Top of Personal Folders";
constexpr unsigned kProgressStep = 4;
/// Old copies of the name map add little; thousands of them are no accident.
constexpr unsigned kMostMapCopies = 64;

}  // namespace

bool CFolderCollector::Run()
{
    m_run.BeginPhase(6);
    try {
        return Collect();
    } catch (const std::exception&) {
        // What was collected so far is worth recovering.
        return true;
    }
}

bool CFolderCollector::Collect()
{
    store::CSourceStore& source = m_run.source;
    for (std::size_t i = 0; i < source.nodes.Size(); ++i) {
        if (m_run.state.MustStop())
            return false;
        const store::NodeRecord node = source.nodes[i];
        const bool isCandidate = node.bidData != 0 && node.nidParent != 0 && node.nid != node.nidParent;
        if (!node.removed && !(isCandidate && m_folders.Contains(node.nid))) {
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

bool CFolderCollector::TakeFolder(const store::NodeRecord& node)
{
    store::CSourceStore& source = m_run.source;
    const auto block = store::FirstDataBlock(source.reader, node.bidData);
    if (!block)
        return false;
    if (source.reader.IsMethodPending() && !source.reader.DetectCryptMethod(*block))
        return false;
    auto properties = store::ReadFolderProperties(source.reader, *block, source.codePage);
    if (!properties || properties->name.empty())
        return false;
    if (properties->name == kSourceRootName)
        m_folders.SetRoot(node.nid);
    m_folders.Add(
        {node.nid, node.nidParent, std::move(properties->name), std::move(properties->containerClass)});
    return true;
}

void CFolderCollector::ReportProgress(std::size_t visited)
{
    constexpr std::uint32_t kFewNodes = 101;
    const store::CSourceStore& source = m_run.source;
    m_run.ReportPercent(source.nodeCount < kFewNodes ? static_cast<unsigned>(visited)
                                                     : store::Percentage(visited, source.hundredth),
                        kProgressStep);
}

}  // namespace pastille::recovery
