#include "recovery/ItemPlacement.h"

#include <chrono>

#include "platform/Messages.h"
#include "recovery/Texts.h"
#include "writer/OleDate.h"

namespace pastille::recovery {
namespace {

using namespace writer;

double OleDateOf(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    constexpr std::uint64_t kTicksPerMillisecond = 10'000;  // of a FILETIME
    // Nanoseconds since 1601 would not fit.
    const auto sinceEpoch = floor<milliseconds>(time) - sys_days(year{1601} / January / 1);
    return OleDateFromFileTime(static_cast<std::uint64_t>(sinceEpoch.count()) * kTicksPerMillisecond);
}

std::uint64_t TargetKey(std::uint32_t parentNid, const ClassRule* rule)
{
    const std::int32_t kind = rule != nullptr ? rule->defaultFolderKind : -1;
    return (std::uint64_t{parentNid} << 32) | static_cast<std::uint32_t>(kind);
}

}  // namespace

PlacedItem CItemPlacement::Place(const std::u16string& messageClass, std::uint32_t parentNid)
{
    PlacedItem placed;
    m_isInFallback = false;
    const ClassJudgement judgement = JudgeClass(messageClass);
    const ItemPlace place = PlaceOf(judgement, Route(messageClass, parentNid));
    if (place == ItemPlace::Nowhere)
        return placed;
    if (place == ItemPlace::Fallback) {
        m_recovery.output.target = FallbackFolder();
        placed.isInFallback = m_isInFallback = true;
    }
    Create(messageClass, judgement, placed);
    return placed;
}

void CItemPlacement::OpenOrphanFolder()
{
    bool isNew = false;
    if (!m_orphans)
        m_orphans = RootSubfolder(kOrphanedMails, platform::FolderMessage::kOrphanedMails, isNew);
    m_recovery.output.target = m_orphans;
    if (isNew)
        m_recovery.log.Write(u"\r\nRecovering Orphaned Mails \r\n");
}

PlacedItem CItemPlacement::PlaceOrphan(const std::u16string& messageClass)
{
    PlacedItem placed;
    const ClassJudgement judgement = JudgeClass(messageClass);
    const bool hasClass = judgement.fate != ClassJudgement::Fate::Nothing;
    if (IsOrphanMade(judgement))
        Create(hasClass ? messageClass : std::u16string(kMailClass), judgement, placed);
    return placed;
}

PlacedItem CItemPlacement::CreateEmbedded(const std::u16string& messageClass)
{
    PlacedItem placed;
    if (!m_recovery.output.target)
        m_recovery.output.target = FallbackFolder();
    const ClassJudgement judgement = JudgeClass(messageClass);
    if (judgement.fate != ClassJudgement::Fate::NoItem)
        Create(messageClass, judgement, placed);
    else if (m_isInFallback)
        CreateMail(messageClass, placed);
    return placed;
}

CRef<IMessageItem> CItemPlacement::CreatePlaceholder()
{
    m_recovery.output.target = FallbackFolder();
    return CreateEmbeddedPlaceholder();
}

CRef<IMessageItem> CItemPlacement::CreateEmbeddedPlaceholder()
{
    if (!m_recovery.output.target)
        m_recovery.output.target = FallbackFolder();
    PlacedItem placed;
    if (!CreateMail(std::u16string(kMailClass), placed))
        throw _com_error(E_POINTER, IMessageItem::kInterfaceId);
    placed.item->SetText(property::Subject, kPlaceholderSubject);
    placed.item->SetText(property::AddressLine, kPlaceholderAddress);
    placed.item->SetText(property::SenderEmailAddress, kPlaceholderAddress);
    placed.item->SetDate(property::DeliveryTime, OleDateOf(m_recovery.clock()));
    return placed.item;
}

bool CItemPlacement::Route(std::u16string_view messageClass, std::uint32_t parentNid)
{
    const auto route = RouteOf(m_recovery.folders, messageClass, parentNid);
    if (!route)
        return false;
    auto& target = m_targets[TargetKey(parentNid, FindClassRule(messageClass))];
    if (!target)
        target = FindTarget(*route);
    if (!target)
        return false;
    m_recovery.output.target = target;
    const FolderRecord* folder = m_recovery.folders.Find(parentNid);
    if (route->defaultFolderKind == 0) {
        m_run.frontEnd.Send(platform::FolderMessage{
            parentNid, route->path, folder != nullptr ? folder->containerClass : std::u16string()});
    } else {
        m_run.frontEnd.Send(
            platform::FolderMessage{parentNid, u"\\" + target->GetName(), target->GetContainerClass()});
    }
    return true;
}

CRef<IStoreFolder> CItemPlacement::FindTarget(const ItemRoute& route) const
{
    if (route.defaultFolderKind != 0)
        return m_recovery.output.session->GetDefaultFolder(route.defaultFolderKind);
    return route.rule == nullptr ? m_recovery.output.Resolve(route.path)
                                 : FindByRule(route.path, *route.rule);
}

CRef<IStoreFolder> CItemPlacement::FindByRule(const std::u16string& path, const ClassRule& rule) const
{
    const OutputStore& output = m_recovery.output;
    const auto separator = path.rfind(u'\\');
    CRef<IStoreFolder> parent = output.Resolve(std::u16string_view(path).substr(0, separator));
    if (!parent)
        return output.Resolve(path);
    const std::u16string name = path.substr(separator + 1);
    const Variant index = name;
    if (const auto found = parent->GetFolders()->GetFolder(index))
        return found;
    if (rule.defaultFolderKind != 0)
        parent = output.session->GetDefaultFolder(rule.defaultFolderKind);
    const auto folders = parent->GetFolders();
    folders->AddFolder(name, Missing{});
    const auto made = folders->GetFolder(index);
    return made ? made : parent;
}

/// What is judged to be no item, too, becomes a mail.
void CItemPlacement::Create(const std::u16string& messageClass, const ClassJudgement& judgement,
                            PlacedItem& placed) const
{
    if (judgement.family == ItemFamily::Mail) {
        CreateMail(messageClass, placed);
        return;
    }
    const auto object = m_recovery.output.target->GetItems()->AddItem(messageClass);
    placed.item = TraitsOf(judgement.family).typed(object);
    if (placed.item)
        placed.family = judgement.family;
}

bool CItemPlacement::CreateMail(const std::u16string& messageClass, PlacedItem& placed) const
{
    const auto object = m_recovery.output.target->GetItems()->AddItem(messageClass);
    const auto item = QueryInterface<IMessageItem>(object);
    if (!item)
        return false;
    item->SetFlag(property::Sent, 1);
    placed.item = item;
    placed.family = ItemFamily::Mail;
    return true;
}

CRef<IStoreFolder> CItemPlacement::FallbackFolder()
{
    bool isNew = false;
    if (!m_fallback)
        m_fallback = RootSubfolder(kLostAndFound, platform::FolderMessage::kLostAndFound, isNew);
    return m_fallback;
}

/// The folder of that name directly under the root; made and announced with `id` when it is not there.
CRef<IStoreFolder> CItemPlacement::RootSubfolder(std::u16string_view name, std::uint32_t id,
                                                 bool& isNew) const
{
    const auto folders = m_recovery.output.store->GetRootFolder()->GetFolders();
    const Variant index = std::u16string(name);
    if (const auto folder = folders->GetFolder(index))
        return folder;
    folders->AddFolder(name, Missing{});
    isNew = true;
    auto made = folders->GetFolder(index);
    m_run.frontEnd.Send(platform::FolderMessage{id, std::u16string(u"\\").append(name), {}});
    return made;
}

}  // namespace pastille::recovery
