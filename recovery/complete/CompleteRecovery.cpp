#include "recovery/complete/CompleteRecovery.h"

#include <algorithm>

#include "recovery/complete/OrphanPass.h"

namespace pastille::recovery::complete {
namespace {

constexpr unsigned kFolderStep = 4, kItemStep = 0;
constexpr unsigned kWholePercent = 100;

}  // namespace

CCompleteRecovery::CCompleteRecovery(store::RunContext& run, RecoveryRun& recovery)
    : m_run(run),
      m_recovery(recovery),
      m_source(*run.source.complete),
      m_blocks(m_source),
      m_pages(run.settings.codePage),
      m_properties(m_names, m_allowance),
      m_folders(m_source, m_blocks, recovery.folders, m_names, m_pages),
      m_maker(run, recovery, m_folders, m_blocks, m_properties, m_pages, m_account),
      m_messages(m_blocks, m_properties, m_pages, m_account),
      m_items(run, recovery, m_source, m_blocks, m_folders, m_maker, m_messages, m_pages, m_account)
{
    // What a file holds lies in it once; versions of an item may share much of it.
    constexpr std::uint64_t kMostRepeats = 16, kAlwaysAllowed = 1'000'000;
    m_allowance.Allow(kMostRepeats * m_source.file.Size() + kAlwaysAllowed);
    // Each attachment has a block of its own, and the versions of a message share what did not change.
    const std::uint64_t blocks = m_source.blocks.Records().size();
    m_messages.Allow(kMostRepeats * blocks, blocks);
}

void CCompleteRecovery::CollectFolders()
{
    if (m_run.state.MustStop() || m_run.state.failed)
        return;
    m_run.BeginPhase(6);
    const auto proceed = [&](std::size_t passed) {
        ReportProgress(passed, kFolderStep);
        return !m_run.state.MustStop();
    };
    if (!m_folders.Collect(proceed))
        return;
    m_recovery.log.Write(u"\r\n\r\n---------Recovering name of folders and mail items---------");
    m_run.BeginPhase(7);
    m_names.SetTarget(writer::QueryInterface<writer::IPropertyNames>(m_recovery.output.store));
    m_maker.MakeAll();
}

void CCompleteRecovery::RecoverItems()
{
    if (m_run.state.MustStop() || m_run.state.failed)
        return;
    m_run.BeginPhase(8);
    if (!RecoverAll())
        return;
    m_items.AccountForMissing();
    if (!m_names.IsRead() && m_names.UnknownIds() != 0)
        m_account.Add({Loss::What::Names, CAccount::kRoot, {}, {}, {}, {}, m_names.UnknownIds()});
    m_account.SetMissingAtEnd(m_source.statedSize - std::min(m_source.statedSize, m_source.file.Size()));
    m_isFinished = true;
    m_run.ReportPercent(kWholePercent, kItemStep);
    m_maker.AnnounceAll();
}

/// False when the run was stopped.
bool CCompleteRecovery::RecoverAll()
{
    // Where no node is left, what lies in blocks is all that there is.
    const bool isSmart = m_run.settings.smartScan || m_source.nodes.Versions().empty();
    const std::size_t passes = isSmart ? 2 : 1;
    const std::size_t all = m_source.nodes.Versions().size();
    if (!m_items.RecoverLive([&](std::size_t done) { ReportProgress(done / passes, kItemStep); }))
        return false;
    if (!isSmart)
        return true;
    m_maker.Orphans();
    const auto passed = [&](std::size_t done) { ReportProgress((all + done) / passes, kItemStep); };
    return m_items.RecoverDeleted(passed) &&
           COrphanPass(m_run, m_source, m_blocks, m_folders, m_maker, m_items, m_pages, m_account).Run();
}

void CCompleteRecovery::ReportProgress(std::size_t done, unsigned step)
{
    const std::size_t all = std::max<std::size_t>(m_source.nodes.Versions().size(), 1);
    m_run.ReportPercent(
        static_cast<unsigned>(std::min<std::size_t>(done * kWholePercent / all, kWholePercent)), step);
}

ReportFacts CCompleteRecovery::Facts() const
{
    return {.source = m_run.settings.sourcePath,
            .output = m_run.state.outputPath,
            .sourceSize = m_source.file.Size(),
            .type = m_source.type,
            .method = m_source.method,
            .smartScan = m_run.settings.smartScan,
            .isFinished = m_isFinished && !m_run.state.failed,
            .attachments = m_messages.Attachments(),
            .embeddedMessages = m_messages.EmbeddedMessages(),
            .damagedNodePages = m_source.damagedNodePages};
}

}  // namespace pastille::recovery::complete
