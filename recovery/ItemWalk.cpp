#include "recovery/ItemWalk.h"

#include "recovery/Guarded.h"
#include "recovery/MailBody.h"

namespace pastille::recovery {
namespace {

using namespace writer;

constexpr unsigned kItemProgressStep = 0;
constexpr unsigned kWholePercent = 100;
/// Below this number of nodes the number done is shown as it is.
constexpr std::uint32_t kFewNodes = 101;

}  // namespace

void CItemWalk::Run()
{
    if (m_run.state.MustStop() || m_run.state.failed)
        return;
    const store::CSourceStore& source = m_run.source;
    const double count = static_cast<double>(source.nodeCount) + static_cast<double>(source.orphans.size());
    m_divisor = static_cast<std::uint64_t>(count / 100 + 0.5);
    // Old versions of a node name the same blocks again, a few times on the average.
    constexpr std::uint64_t kMostRepeats = 16, kAlwaysAllowed = 1'000'000;
    m_work.AllowRun(kMostRepeats * source.file.Size(), kMostRepeats * source.blocks.Count() + kAlwaysAllowed);
    m_run.BeginPhase(8);
    if (!WalkNodes() || (m_run.settings.smartScan && !WalkOrphans()))
        return;
    m_run.ReportPercent(kWholePercent, kItemProgressStep);
    AnnounceFolders();
}

bool CItemWalk::WalkNodes()
{
    store::CNodeList& nodes = m_run.source.nodes;
    for (std::size_t i = 0; i < nodes.Size(); ++i) {
        if (m_run.state.MustStop())
            return false;
        const store::NodeRecord node = nodes[i];
        if (node.removed)
            continue;
        if (ProcessNode(node.bidData, node.bidSub, node.nidParent))
            nodes.Remove(i);
        ReportProgress();
    }
    return !m_run.state.MustStop();
}

/// The folder of orphans is there after every Smart Scan, without an orphan too.
bool CItemWalk::WalkOrphans()
{
    m_orphanMode = true;
    Guarded([&] { m_placement.OpenOrphanFolder(); });
    for (const store::OrphanRecord& orphan : m_run.source.orphans) {
        if (m_run.state.MustStop())
            return false;
        Guarded([&] {
            m_placement.OpenOrphanFolder();
            ProcessNode(orphan.bidData, orphan.bidSub, 0);
        });
        ReportProgress();
    }
    return !m_run.state.MustStop();
}

/// Returns true when the node's item went to the fallback folder.
bool CItemWalk::ProcessNode(std::uint32_t bidData, std::uint32_t bidSub, std::uint32_t parentNid)
{
    // What a node holds lies in the file once; some of it may be named twice.
    const std::uint64_t mostBytes = 2 * m_run.source.file.Size();
    m_work.Start(bidData, bidSub, mostBytes);
    m_reader.Source().AllowTexts(mostBytes);
    bool isInFallback = false;
    Guarded([&] {
        for (std::size_t i = 0; i < m_work.Size(); ++i) {
            const bool placedInFallback = ProcessWorkItem(i, parentNid);
            isInFallback = isInFallback || (i == 0 && placedInFallback);
        }
    });
    FinishItems();
    m_work.Clear();
    return isInFallback;
}

bool CItemWalk::ProcessWorkItem(std::size_t index, std::uint32_t parentNid)
{
    if (!m_run.source.reader.Find(m_work[index].bidData))
        return false;
    ReadItem(index, parentNid);
    const PlacedItem& placed = m_reader.Placed();
    if ((m_orphanMode || placed.isInFallback) && m_reader.HasRow())
        m_run.frontEnd.Send(platform::OrphanRowMessage{});
    const auto allows = [this](std::uint64_t bytes) { return m_work.SpendBytes(bytes); };
    const bool goesOn = !placed.IsMail() || WriteBody(m_reader.Source(), m_reader.Bodies(),
                                                      m_run.settings.codePage, allows, placed.item);
    if (goesOn)
        m_attachments.Read(m_work, index, m_reader.Source().Subnodes());
    return placed.isInFallback;
}

void CItemWalk::ReadItem(std::size_t index, std::uint32_t parentNid)
{
    WorkItem& item = m_work[index];
    const auto take = [&] {
        item.item = m_reader.Placed().item;
        item.family = m_reader.Placed().family;
    };
    try {
        if (item.IsEmbedded())
            m_reader.ReadEmbedded(item.bidData, item.bidSub);
        else if (m_orphanMode)
            m_reader.ReadOrphan(item.bidData, item.bidSub);
        else
            m_reader.Read(item.bidData, item.bidSub, parentNid);
    } catch (...) {
        take();  // what was written by now is saved
        throw;
    }
    take();
}

/// Embedded items go into their parents, the last one first, so that each one is whole when it is attached;
/// the node's own mail is saved after that.
void CItemWalk::FinishItems()
{
    for (std::size_t i = m_work.Size(); i-- > 1;) {
        for (const CRef<IMessageItem>& message : {m_work[i].item, m_work[i].placeholder}) {
            if (message)
                Guarded([&] { m_attachments.AttachMessage(m_work, i, message); });
        }
    }
    const WorkItem& own = m_work[0];
    if (own.hasNewPicture)
        Guarded([&] { own.item->Save(); });
    if (own.placeholder)
        Guarded([&] { SaveMail(own.placeholder); });
    if (own.IsMail())
        Guarded([&] { SaveMail(own.item); });
}

void CItemWalk::SaveMail(const CRef<IMessageItem>& mail)
{
    mail->Save();
    ++m_recovery.figures.items[static_cast<std::size_t>(ItemFamily::Mail)];
    m_recovery.log.Write(u"\r\nStatus: Recovered\r\n");
}

void CItemWalk::ReportProgress()
{
    ++m_done;
    if (m_run.source.nodeCount < kFewNodes) {
        m_run.ReportPercent(static_cast<unsigned>(m_done), kItemProgressStep);
        return;
    }
    const unsigned percent = store::Percentage(m_done, m_divisor);
    if (percent <= kWholePercent)
        m_run.ReportPercent(percent, kItemProgressStep);
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
