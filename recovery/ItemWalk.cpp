#include "recovery/ItemWalk.h"

#include <exception>

#include "recovery/MailBody.h"

namespace pastille::recovery {
namespace {

using namespace writer;

constexpr unsigned kProgressStep = 0;
constexpr unsigned kWholePercent = 100;
/// Below this number of nodes the number done is shown as it is.
constexpr std::uint32_t kFewNodes = 101;

}  // namespace

void CItemWalk::Run()
{
    if (m_run.state.MustStop() || m_run.state.failed)
        return;
    const store::CSourceStore& source = m_run.source;
    const double count = static_cast<double>(source.nodeCount) + static_cast<double>(source.orphanCount);
    m_divisor = static_cast<std::uint64_t>(count / 100 + 0.5);
    m_run.BeginPhase(8);
    if (!WalkNodes())
        return;
    m_run.ReportPercent(kWholePercent, kProgressStep);
    AnnounceFolders();
}

bool CItemWalk::WalkNodes()
{
    store::CNodeList& nodes = m_run.source.nodes;
    std::uint64_t done = 0;
    for (std::size_t i = 0; i < nodes.Size(); ++i) {
        if (m_run.state.MustStop())
            return false;
        const store::NodeRecord node = nodes[i];
        if (node.removed)
            continue;
        if (ProcessNode(node.bidData, node.bidSub, node.nidParent))
            nodes.Remove(i);
        ReportProgress(++done);
    }
    return !m_run.state.MustStop();
}

/// Returns true when the node's item went to the fallback folder.
bool CItemWalk::ProcessNode(std::uint32_t bidData, std::uint32_t bidSub, std::uint32_t parentNid)
{
    m_work.clear();
    m_work.push_back({bidData, bidSub});
    bool isInFallback = false;
    try {
        for (std::size_t i = 0; i < m_work.size(); ++i) {
            const bool placedInFallback = ProcessWorkItem(i, parentNid);
            isInFallback = isInFallback || (i == 0 && placedInFallback);
        }
    } catch (const _com_error& error) {
        if (error.IsStorageFailure())
            throw;
    } catch (const std::exception&) {
        // Whatever an item does to this program costs that item and no other.
    }
    try {
        SaveMail();
    } catch (const _com_error& error) {
        if (error.IsStorageFailure())
            throw;
    } catch (const std::exception&) {
        // As above.
    }
    m_work.clear();
    return isInFallback;
}

bool CItemWalk::ProcessWorkItem(std::size_t index, std::uint32_t parentNid)
{
    m_reader.Read(m_work[index].bidData, m_work[index].bidSub, parentNid);
    const PlacedItem& placed = m_reader.Placed();
    if (placed.IsMail()) {
        m_work[index].mail = placed.item;
        if (m_reader.Bodies().deciding != 0)
            WriteHeapBody(m_reader.Source(), m_reader.Bodies(), placed.item);
    }
    return placed.isInFallback;
}

void CItemWalk::SaveMail()
{
    const auto& mail = m_work.front().mail;
    if (!mail)
        return;
    mail->Save();
    ++m_recovery.figures.items[static_cast<std::size_t>(ItemFamily::Mail)];
    m_recovery.log.Write(u"\r\nStatus: Recovered\r\n");
}

void CItemWalk::ReportProgress(std::uint64_t done)
{
    if (m_run.source.nodeCount < kFewNodes) {
        m_run.ReportPercent(static_cast<unsigned>(done), kProgressStep);
        return;
    }
    const unsigned percent = store::Percentage(done, m_divisor);
    if (percent <= kWholePercent)
        m_run.ReportPercent(percent, kProgressStep);
}

void CItemWalk::AnnounceFolders()
{
    for (const FolderRecord& folder : m_recovery.folders.Records()) {
        m_run.frontEnd.Send(platform::FolderMessage{
            folder.nodeId, m_recovery.folders.Path(folder.nodeId).value_or(std::u16string()),
            folder.containerClass});
    }
}

}  // namespace pastille::recovery
