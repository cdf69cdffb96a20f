#include "recovery/ItemPlacement.h"

#include <chrono>

#include "platform/Messages.h"
#include "recovery/Texts.h"
#include "writer/OleDate.h"

namespace pastille::recovery {
namespace {

using namespace writer;

constexpr std::u16string_view kPlaceholderClass = u"IPM.Note";

double OleDateOf(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    constexpr std::uint64_t kTicksPerMillisecond = 10'000;  // of a FILETIME
    // Nanoseconds since 1601 would not fit.
    const auto sinceEpoch = floor<milliseconds>(time) - sys_days(year{1601} / January / 1);
    return OleDateFromFileTime(static_cast<std::uint64_t>(sinceEpoch.count()) * kTicksPerMillisecond);
}

/// The kind of default folder that a rule falls back on, 0 for none.
std::int32_t FolderKind(const ClassRule* rule)
{
    return rule != nullptr ? rule->defaultFolderKind : 0;
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
    if (!Route(messageClass, parentNid) || !Create(messageClass, placed))
        PlaceInFallback(messageClass, placed);
    return placed;
}

PlacedItem CItemPlacement::CreateEmbedded(const std::u16string& messageClass)
{
    PlacedItem placed;
    if (!m_recovery.output.target)
        m_recovery.output.target = FallbackFolder();
    if (!Create(messageClass, placed) && !placed.classSkipped)
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
    if (!CreateMail(std::u16string(kPlaceholderClass), placed))
        throw _com_error(E_POINTER, IMessageItem::kInterfaceId);
    placed.item->SetText(property::Subject, kPlaceholderSubject);
    placed.item->SetText(property::AddressLine, kPlaceholderAddress);
    placed.item->SetText(property::SenderEmailAddress, kPlaceholderAddress);
    placed.item->SetDate(property::DeliveryTime, OleDateOf(m_recovery.clock()));
    return placed.item;
}

bool CItemPlacement::Route(std::u16string_view messageClass, std::uint32_t parentNid)
{
    const auto path = m_recovery.folders.Path(parentNid);
    if (!path)
        return false;
    const ClassRule* rule = FindClassRule(messageClass);
    auto& target = m_targets[TargetKey(parentNid, rule)];
    if (!target)
        target = FindTarget(parentNid, *path, rule);
    if (!target)
        return false;
    m_recovery.output.target = target;
    const FolderRecord* folder = m_recovery.folders.Find(parentNid);
    if (!path->empty() || FolderKind(rule) == 0) {
        m_run.frontEnd.Send(platform::FolderMessage{
            parentNid, *path, folder != nullptr ? folder->containerClass : std::u16string()});
    } else {
        m_run.frontEnd.Send(
            platform::FolderMessage{parentNid, u"\\" + target->GetName(), target->GetContainerClass()});
    }
    return true;
}

CRef<IStoreFolder> CItemPlacement::FindTarget(std::uint32_t parentNid, const std::u16string& path,
                                              const ClassRule* rule) const
{
    if (m_recovery.folders.Root() != parentNid)
        return rule == nullptr ? m_recovery.output.Resolve(path) : FindByRule(path, *rule);
    // The root has no name to look for in a parent: what has a default folder goes there.
    return FolderKind(rule) == 0 ? m_recovery.output.Resolve(path)
                                 : m_recovery.output.session->GetDefaultFolder(FolderKind(rule));
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

bool CItemPlacement::Create(const std::u16string& messageClass, PlacedItem& placed) const
{
    const ClassRule* rule = FindClassRule(messageClass);
    if (rule != nullptr && rule->family) {
        const auto object = m_recovery.output.target->GetItems()->AddItem(messageClass);
        placed.item = TraitsOf(*rule->family).typed(object);
        if (placed.item)
            placed.family = rule->family;
        return true;
    }
    if (IsMailClass(messageClass)) {
        CreateMail(messageClass, placed);
        return true;
    }
    constexpr std::size_t kShortestClass = 3;
    if (messageClass.size() < kShortestClass)
        return false;
    if (LooksLikeItemClass(messageClass)) {
        placed.classSkipped = true;
        return false;
    }
    placed.classSkipped = !CreateMail(messageClass, placed);
    return true;
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

void CItemPlacement::PlaceInFallback(const std::u16string& messageClass, PlacedItem& placed)
{
    if (placed.classSkipped)
        return;
    m_recovery.output.target = FallbackFolder();
    if (!Create(messageClass, placed))
        CreateMail(messageClass, placed);
    placed.isInFallback = true;
}

CRef<IStoreFolder> CItemPlacement::FallbackFolder()
{
    if (m_fallback)
        return m_fallback;
    const auto folders = m_recovery.output.store->GetRootFolder()->GetFolders();
    const Variant index = std::u16string(kLostAndFound);
    m_fallback = folders->GetFolder(index);
    if (m_fallback)
        return m_fallback;
    folders->AddFolder(kLostAndFound, Missing{});
    m_fallback = folders->GetFolder(index);
    m_run.frontEnd.Send(platform::FolderMessage{
        platform::FolderMessage::kLostAndFound, std::u16string(u"\\").append(kLostAndFound), {}});
    return m_fallback;
}

}  // namespace pastille::recovery
