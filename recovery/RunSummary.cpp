#include "recovery/RunSummary.h"

#include <algorithm>

#include "platform/Text.h"
#include "recovery/ItemClasses.h"
#include "recovery/RecoveryRun.h"

namespace pastille::recovery {
namespace {

using namespace writer;

/// In the order of ItemFamily. Meeting messages are no folder's kind: such a folder counts as mail.
constexpr std::uint64_t SummaryCounts::*kCounters[] = {
    &SummaryCounts::mails, &SummaryCounts::contacts, &SummaryCounts::tasks, &SummaryCounts::calendar,
    &SummaryCounts::mails, &SummaryCounts::journals, &SummaryCounts::notes,
};

std::uint64_t& CounterOf(SummaryCounts& counts, std::u16string_view containerClass)
{
    const ClassRule* rule = FindClassRule(containerClass);
    const ItemFamily family = rule != nullptr && rule->family ? *rule->family : ItemFamily::Mail;
    return counts.*kCounters[static_cast<std::size_t>(family)];
}

std::uint64_t CountItems(IStoreSession& session, std::u16string_view storeName, std::u16string_view path)
try {
    const auto folder = session.GetFolderFromPath(StorePath(storeName, path));
    return static_cast<std::uint64_t>(std::max(folder->GetItems()->GetCount(), 0));
} catch (const _com_error&) {
    return 0;
}

}  // namespace

void CRunSummary::Note(const platform::FolderMessage& message)
{
    if (m_index.emplace(message.folderPath, m_folders.size()).second)
        m_folders.push_back({message.folderPath, message.containerClass});
}

SummaryCounts CRunSummary::Write(IComponentFactory& component, platform::IFileSystem& fileSystem,
                                 const platform::RunState& state, const Clock& clock) const
{
    CRunLog log;
    log.OpenToAppend(fileSystem, state.logPath);
    log.Write(u"\r\n\r\n-------------------Summary--------------------");
    SummaryCounts counts = Count(component, state);
    log.Write(u"\r\n\r\nTotal recovered mail items : " + platform::FromUtf8(std::to_string(counts.total)));
    log.Write(u"\r\n\r\nDate and time : " + LogTime(clock));
    return counts;
}

SummaryCounts CRunSummary::Count(IComponentFactory& component, const platform::RunState& state) const
{
    SummaryCounts counts;
    CRef<IStoreSession> session;
    try {
        session = component.CreateSession();
        session->Logon(state.profileName);
        counts.opened = true;
    } catch (const _com_error&) {
        return counts;
    }
    for (const Announced& folder : m_folders) {
        const std::uint64_t items = CountItems(*session, state.storeName, folder.path);
        counts.folders.push_back({folder.path, items});
        counts.total += items;
        CounterOf(counts, folder.containerClass) += items;
    }
    return counts;
}

}  // namespace pastille::recovery
