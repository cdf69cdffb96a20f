#include "recovery/complete/ItemPass.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <unordered_set>
#include <utility>

#include "format/Ids.h"
#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "recovery/Guarded.h"
#include "recovery/ItemClasses.h"
#include "recovery/Texts.h"
#include "recovery/complete/FoundText.h"
#include "recovery/complete/ItemIdentity.h"
#include "recovery/complete/SourceNodes.h"
#include "writer/OleDate.h"

namespace pastille::recovery::complete {
namespace {

using format::Nid;
using format::NidType;
using store::complete::CFoundObject;
using store::complete::CFoundTable;
using store::complete::FoundRow;
using store::complete::NodeVersion;
using store::complete::SourceFault;

enum Cell : unsigned { kFromCell = 1, kToCell = 2, kSubjectCell = 3, kDateCell = 4 };

/// Types of nodes that are no messages, whatever they hold. [MS-PST] 2.2.2.1
bool IsOtherKind(NidType type)
{
    return type == NidType::Hid || type == NidType::Ltp ||
           (type != NidType::OleStream && type <= NidType::RecipientTable &&
            static_cast<unsigned>(type) != 0xA);
}

std::u16string DateText(CFoundObject& message)
{
    for (const std::uint16_t id : {format::pid::kMessageDeliveryTime, format::pid::kClientSubmitTime,
                                   format::pid::kLastModificationTime}) {
        const auto bytes = message.Bytes(id, sizeof(std::uint64_t));
        if (bytes.size() != sizeof(std::uint64_t))
            continue;
        const auto date =
            writer::CalendarDateOf(writer::OleDateFromFileTime(format::LoadLE<std::uint64_t>(bytes, 0)));
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "%d /%d /%d", date.month, date.day, date.year);
        return platform::FromUtf8(text.data());
    }
    return {};
}

}  // namespace

bool IsItem(store::complete::CSourceBlocks& blocks, const store::complete::CScannedSource& source,
            std::span<const NodeVersion> versions)
{
    if (IsMessageNode(versions.front().nid))
        return true;
    if (IsOtherKind(Nid{versions.front().nid}.Type()))
        return false;
    CFoundObject object(blocks, ReferenceOf(source, versions.front()));
    return object.Open() && object.Find(format::pid::kMessageClass) != nullptr;
}

bool CItemPass::RecoverLive(const std::function<void(std::size_t)>& passed)
{
    return ForEachItem(passed, false);
}

bool CItemPass::RecoverDeleted(const std::function<void(std::size_t)>& passed)
{
    return ForEachItem(passed, true);
}

bool CItemPass::ForEachItem(const std::function<void(std::size_t)>& passed, bool isDeleted)
{
    std::size_t done = 0;
    bool goesOn = true;
    ForEachNode(m_source.nodes, [&](std::span<const NodeVersion> versions) {
        const NodeVersion& newest = versions.front();
        const bool isThere = newest.isLive != 0 || m_folders.ListingOf(newest.nid);
        // Whatever an item does to this program costs that item and no other.
        const bool isDone = isThere == isDeleted || Guarded([&] {
                                if (IsItem(m_blocks, m_source, versions))
                                    Recover(versions, isDeleted);
                            });
        if (!isDone && !isDeleted && m_lastCounted != newest.nid && IsMessageNode(newest.nid))
            m_unread.push_back({newest.nid, KnownFolder(versions), std::nullopt});
        done += versions.size();
        passed(done);
        return goesOn = !m_run.state.MustStop();
    });
    return goesOn;
}

void CItemPass::Recover(std::span<const NodeVersion> versions, bool isDeleted)
{
    const NodeVersion& newest = versions.front();
    std::optional<SourceFault> fault;
    for (std::size_t i = 0; i < versions.size(); ++i) {
        CFoundObject message(m_blocks, ReferenceOf(m_source, versions[i]));
        if (!message.Open()) {
            NoteFirst(fault, message.Fault());
            continue;
        }
        const CItemText text(m_pages.PagesOf(message));
        if (isDeleted && IsKnown(message, text)) {
            m_account.NoteLeftOut();
            return;
        }
        std::unique_ptr<CFoundObject> before;
        const OlderVersion older = [&]() -> CFoundObject* {
            if (!before)
                before = OpenOlder(message, versions.subspan(i), text);
            return before.get();
        };
        CopyNode(
            versions,
            {.message = message, .isNewest = i == 0 && (isDeleted || newest.isLive != 0), .older = older},
            isDeleted);
        return;
    }
    if (!isDeleted && !RecoverWithoutContext(versions))
        m_unread.push_back({newest.nid, KnownFolder(versions), fault});
}

/// The newest of the older versions that can be read; nullptr when there is none.
std::unique_ptr<CFoundObject> CItemPass::OpenOlder(CFoundObject& message,
                                                   std::span<const NodeVersion> versions,
                                                   const CItemText& text)
{
    const bool isAtHome = m_source.nodes.PageOf(versions.front()).isAtHome;
    for (const NodeVersion& version : versions.subspan(1)) {
        auto older = std::make_unique<CFoundObject>(m_blocks, ReferenceOf(m_source, version));
        const bool isOneStore = isAtHome && m_source.nodes.PageOf(version).isAtHome;
        if (older->Open() && IsSameMessage(message, *older, text, isOneStore))
            return older;
    }
    return nullptr;
}

void CItemPass::CopyNode(std::span<const NodeVersion> versions, Found found, bool isDeleted)
{
    const MadeFolder* const folder = isDeleted ? &m_maker.DeletedVersions() : FolderOf(versions);
    found.nid = versions.front().nid;
    found.listedIn = isDeleted ? 0 : KnownFolder(versions);
    found.isAssociated = IsAssociatedNode(found.nid);
    CopyInto(folder != nullptr ? *folder : m_maker.LostAndFound(), found);
}

/// An item whose property context is lost comes with its attachments and what its folder's table says of it.
/// False when it has no attachments that are there.
bool CItemPass::RecoverWithoutContext(std::span<const NodeVersion> versions)
{
    for (const NodeVersion& version : versions) {
        CFoundObject message(m_blocks, ReferenceOf(m_source, version));
        const auto subnodes = message.Subnodes().All();
        const bool hasAttachments =
            std::ranges::any_of(subnodes, [&](const store::complete::Subnode& subnode) {
                return Nid{subnode.nid}.Type() == NidType::Attachment &&
                       m_source.blocks.Find(subnode.reference.bidData, subnode.reference.isAtHome);
            });
        if (hasAttachments) {
            CopyNode(versions, {.message = message}, false);
            return true;
        }
    }
    return false;
}

/// The folder that the node hangs under, else the one whose table lists it, else that of an older version.
std::uint32_t CItemPass::KnownFolder(std::span<const NodeVersion> versions) const
{
    if (m_maker.Find(versions.front().parent) != nullptr)
        return versions.front().parent;
    const auto listing = m_folders.ListingOf(versions.front().nid);
    if (listing && m_maker.Find(listing->Folder()) != nullptr)
        return listing->Folder();
    for (const NodeVersion& version : versions) {
        if (m_maker.Find(version.parent) != nullptr)
            return version.parent;
    }
    return 0;
}

const MadeFolder* CItemPass::FolderOf(std::span<const NodeVersion> versions) const
{
    const std::uint32_t folder = KnownFolder(versions);
    return folder == 0 ? nullptr : m_maker.Find(folder);
}

void CItemPass::CopyInto(const MadeFolder& folder, const Found& found)
{
    CFoundObject& message = found.message;
    const bool isAssociated = found.isAssociated, isNewest = found.isNewest;
    const CItemText text(m_pages.PagesOf(message));
    const ItemPlace place{folder.account,
                          {found.nid, WithoutPrefixMark(TextOf(message, format::pid::kSubject, text)),
                           TextOf(message, format::pid::kMessageClass, text), isAssociated}};
    Outcome outcome = Outcome::Lost;
    Guarded([&] {
        const auto target = folder.whole->AddMessage(isAssociated);
        CopyFromRow(found.listedIn, found.nid, message, *target, text);
        outcome = m_messages.Copy(message, found.older, target, place);
    });
    const bool isSmart = m_run.settings.smartScan || m_source.nodes.Versions().empty();
    if (isSmart && outcome != Outcome::Lost)
        m_identities.insert(IdentityOf(message, text));
    if (outcome == Outcome::Lost)
        m_account.Add({Loss::What::Item, folder.account, place.item, {}, {}, {}});
    else if (!isNewest)
        m_account.Add({Loss::What::OlderVersion, folder.account, place.item, {}, {}, {}});
    if (outcome == Outcome::Whole && !isNewest)
        outcome = Outcome::Partial;
    m_account.CountItem(folder.account, isAssociated, outcome, true);
    m_lastCounted = found.nid;
    if (outcome == Outcome::Lost || isAssociated)
        return;
    ShowRow(place.item, message, text, folder);
    const ItemFamily family = JudgeClass(place.item.messageClass).family;
    ++m_recovery.figures.items[static_cast<std::size_t>(family)];
    m_recovery.log.Write(
        std::u16string(u"\r\n\r\n").append(TraitsOf(family).logLabel).append(LogName(place.item.subject)));
    m_recovery.log.Write(outcome == Outcome::Whole ? u"\r\nStatus: Recovered\r\n"
                                                   : u"\r\nStatus: Recovered in part\r\n");
}

bool CItemPass::IsKnown(CFoundObject& message, const CItemText& text) const
{
    const std::uint64_t identity = IdentityOf(message, text);
    return identity != 0 && m_identities.contains(identity);
}

/// The time of its last change stands in the row alone where a server keeps the item's own. Of a message that
/// is lost but for its attachments the row is all that is known.
void CItemPass::CopyFromRow(std::uint32_t folder, std::uint32_t nid, const CFoundObject& message,
                            writer::IWholeMessage& target, const CItemText& text)
{
    constexpr std::uint16_t kTimeId = format::pid::kLastModificationTime;
    const bool isAllLost = message.Records().empty();
    if (isAllLost) {
        target.SetProperty({format::pid::kSubject, format::PropertyType::String},
                           StoredText(kPlaceholderSubject));
        target.SetProperty({format::pid::kMessageClass, format::PropertyType::String},
                           StoredText(kMailClass));
    }
    if (folder == 0 || (!isAllLost && message.Find(kTimeId) != nullptr))
        return;
    CFoundTable* const table = TableOf(folder, IsAssociatedNode(nid));
    const auto row = table == nullptr ? std::nullopt : table->RowOf(nid);
    if (!row)
        return;
    const auto ignore = [](auto, const auto&, bool) {};
    if (isAllLost) {
        m_messages.Properties().CopyRow(*table, *row, target, text, ignore);
    } else if (const format::TableColumn* const column = table->Info().FindId(kTimeId)) {
        auto value = table->Cell(*row, *column);
        m_messages.Properties().CopyValue(column->tag, value, target, text, ignore);
    }
}

CFoundTable* CItemPass::TableOf(std::uint32_t folder, bool isAssociated)
{
    constexpr std::size_t kMostOpen = 8;
    const std::uint32_t nid = ContentsTableOf(folder, isAssociated);
    for (const auto& [known, table] : m_tables) {
        if (known == nid)
            return table.get();
    }
    if (m_tables.size() == kMostOpen)
        m_tables.erase(m_tables.begin());
    return m_tables.emplace_back(nid, OpenTable(m_source, m_blocks, nid)).second.get();
}

void CItemPass::ShowRow(const KnownItem& item, CFoundObject& message, const CItemText& text,
                        const MadeFolder& folder)
{
    platform::IFrontEnd& frontEnd = m_run.frontEnd;
    frontEnd.Send(platform::FolderMessage{folder.id, folder.path, folder.containerClass});
    if (JudgeClass(item.messageClass).family != ItemFamily::Mail)
        return;
    frontEnd.Send(
        platform::ListCellMessage{kFromCell, TextOf(message, format::pid::kSentRepresentingName, text)});
    frontEnd.Send(platform::ListCellMessage{kToCell, TextOf(message, format::pid::kDisplayTo, text)});
    frontEnd.Send(platform::ListCellMessage{kSubjectCell, item.subject});
    frontEnd.Send(platform::ListCellMessage{kDateCell, DateText(message)});
    if (folder.id == platform::FolderMessage::kLostAndFound ||
        folder.id == platform::FolderMessage::kOrphanedMails)
        frontEnd.Send(platform::OrphanRowMessage{});
}

void CItemPass::AddUnread(std::unordered_set<std::uint32_t>& nids) const
{
    for (const Unread& item : m_unread)
        nids.insert(item.nid);
}

void CItemPass::AccountForMissing()
{
    std::uint32_t last = 0;
    for (const ListedItem& listed : m_folders.Listed()) {
        if (listed.item != last && m_source.nodes.VersionsOf(listed.item).empty())
            m_unread.push_back({listed.item, listed.Folder(), std::nullopt});
        last = listed.item;
    }
    std::erase_if(m_unread, [&](const Unread& item) { return m_foundAsOrphans.contains(item.nid); });
    std::ranges::sort(m_unread, [](const Unread& a, const Unread& b) {
        return std::pair(a.folder, a.nid) < std::pair(b.folder, b.nid);
    });
    for (std::size_t begin = 0, end = 0; begin < m_unread.size(); begin = end) {
        while (end < m_unread.size() && m_unread[end].folder == m_unread[begin].folder)
            ++end;
        DescribeUnread(m_unread[begin].folder, std::span(m_unread).subspan(begin, end - begin));
    }
    for (std::size_t i = 0; i < m_account.Folders().size(); ++i) {
        const FolderAccount& folder = m_account.Folders()[i];
        const std::uint64_t stated = folder.statedItems.value_or(0);
        if (stated <= folder.items.expected)
            continue;
        const std::uint64_t missing = stated - folder.items.expected;
        m_account[i].items.expected += missing;
        m_account[i].items.lost += missing;
        m_account.Add({Loss::What::UnknownItems, i, {}, {}, {}, {}, missing});
    }
}

/// The rows of the folder's tables tell what its lost items were.
void CItemPass::DescribeUnread(std::uint32_t folder, std::span<const Unread> unread)
{
    std::unordered_set<std::uint32_t> told;
    const auto find = [&](std::uint32_t nid) {
        return std::ranges::lower_bound(unread, nid, {}, &Unread::nid);
    };
    CFoundObject none(m_blocks, {});
    const CItemText text(m_pages.PagesOf(none));
    for (const bool isAssociated : {false, true}) {
        CFoundTable* const table = folder == 0 ? nullptr : TableOf(folder, isAssociated);
        if (table == nullptr)
            continue;
        table->ForEachRow([&](const FoundRow& row) {
            const auto at = find(row.id);
            if (at != unread.end() && at->nid == row.id && told.insert(row.id).second)
                LoseUnread(*at,
                           {row.id, WithoutPrefixMark(TextOf(*table, row, format::pid::kSubject, text)),
                            TextOf(*table, row, format::pid::kMessageClass, text), IsAssociatedNode(row.id)});
            return true;
        });
    }
    for (const Unread& item : unread) {
        if (!told.contains(item.nid))
            LoseUnread(item, {item.nid, {}, {}, IsAssociatedNode(item.nid)});
    }
}

void CItemPass::LoseUnread(const Unread& unread, KnownItem item)
{
    const MadeFolder* const folder = m_maker.Find(unread.folder);
    const std::size_t account = (folder != nullptr ? *folder : m_maker.LostAndFound()).account;
    m_account.CountItem(account, item.isAssociated, Outcome::Lost, false);
    m_account.Add({Loss::What::Item, account, std::move(item), {}, {}, unread.fault});
}

}  // namespace pastille::recovery::complete
