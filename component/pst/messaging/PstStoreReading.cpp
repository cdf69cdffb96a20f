#include "component/pst/messaging/PstStore.h"

#include <memory>
#include <utility>
#include <vector>

#include "component/pst/messaging/MessagingIds.h"
#include "component/pst/messaging/StoreError.h"
#include "component/pst/messaging/StoredText.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

using format::Nid;
using format::NidType;

constexpr std::uint64_t kLargestName = 1u << 16;
constexpr std::uint64_t kLargestNameMap = 64u << 20;
/// The folder of an OST that holds what its user sees; there is one below "Root - Mailbox" and one below
/// "Root - Public".
constexpr std::u16string_view kMailboxTree = u"IPM_SUBTREE";

NodeRecord RequireNode(INodeDatabase& database, Nid nid)
{
    const auto node = database.FindNode(nid);
    if (!node)
        throw CStoreError(Refusal::NotFound);
    return *node;
}

}  // namespace

std::shared_ptr<CPstStore> CPstStore::Open(platform::IFileSystem& files, const std::filesystem::path& path,
                                           const std::string& codePage)
{
    std::shared_ptr<CPstStore> store(new CPstStore(codePage));
    store->m_source = files.OpenSource(path);
    if (!store->m_source)
        throw CStoreError(Refusal::NotFound);
    store->m_reader = std::make_unique<CNdbReader>(*store->m_source, DetectLayout(*store->m_source));
    store->StartReading();
    return store;
}

/// Damage to a part of the store is noted; the rest opens without it.
template <class Work>
void CPstStore::AttemptOpening(const char* what, Work&& work)
{
    try {
        std::forward<Work>(work)();
    } catch (const CFormatError& error) {
        m_openingFaults.push_back(std::string(what) + " cannot be read: " + error.what());
    } catch (const CStoreError&) {
        m_openingFaults.push_back(std::string(what) + " cannot be read: it is missing");
    }
}

void CPstStore::StartReading()
{
    std::optional<Nid> subtree;
    AttemptOpening("The store's own properties", [&] { ReadStoreProperties(subtree); });
    m_rootFolder = &FindRoot(subtree);
    AttemptOpening("The table of named properties", [&] { ReadNames(); });
    AttemptOpening("The list of default folders", [&] { ReadDefaultFolders(); });
}

void CPstStore::ReadStoreProperties(std::optional<Nid>& subtree)
{
    CPropertyReader store(*m_reader, RequireNode(*m_reader, format::nids::kMessageStore));
    const auto nidBehind = [&](std::uint16_t id) {
        const auto value = store.Read(id, kLargestName);
        return value ? NidOfEntryId(value->bytes) : std::nullopt;
    };
    subtree = nidBehind(format::pid::kIpmSubtreeEntryId);
    m_deletedItems = nidBehind(format::pid::kIpmWastebasketEntryId).value_or(m_deletedItems);
    if (const auto name = store.Read(format::pid::kDisplayName, kLargestName))
        m_displayName = m_strings.Read(*name).value_or(std::u16string());
}

void CPstStore::ReadNames()
{
    if (const auto map = m_reader->FindNode(format::nids::kNameToIdMap))
        m_names = CNameMap::Decode(CPropertyReader(*m_reader, *map).ReadAll(kLargestNameMap));
}

void CPstStore::ReadDefaultFolders()
{
    const auto root = m_reader->FindNode(format::nids::kRootFolder);
    if (!root)
        return;
    CPropertyReader properties(*m_reader, *root);
    for (std::size_t i = 0; i < kIpmKinds; ++i)
        if (const auto value = properties.Read(static_cast<std::uint16_t>(pid::kIpmAppointmentEntryId + i)))
            m_defaultFolders[i] = NidOfEntryId(value->bytes).value_or(Nid{});
    const auto list = properties.Read(pid::kAdditionalRenEntryIds);
    const auto entries = format::SplitMultiple(list ? format::CByteView(list->bytes) : format::CByteView());
    for (std::size_t i = 0; entries && i < kSyncKinds && i < entries->size(); ++i)
        m_defaultFolders[kIpmKinds + i] = NidOfEntryId((*entries)[i].Bytes()).value_or(Nid{});
}

Folder& CPstStore::AddTop(Nid nid)
{
    Folder& folder = m_folders.Add(nullptr, nid, u"");
    folder.childrenKnown = false;
    AttemptOpening("The name of the top folder",
                   [&] { folder.name = StoredFolderName(PropertyText(nid, format::pid::kDisplayName)); });
    return folder;
}

Folder& CPstStore::FindRoot(std::optional<Nid> subtree)
{
    // A store that names no IPM subtree, or one that is gone, still has it where all programs put it.
    const bool isOst = m_reader->Header().clientMagic == format::kClientMagicOst;
    for (const auto& nid : {subtree, isOst ? std::nullopt : std::optional(format::nids::kIpmSubtree)})
        if (nid && nid->Type() == NidType::NormalFolder && m_reader->FindNode(*nid))
            return AddTop(*nid);
    RequireNode(*m_reader, format::nids::kRootFolder);
    Folder& top = AddTop(format::nids::kRootFolder);
    Folder* const mailbox = FindMailboxTree(top);
    return mailbox != nullptr ? *mailbox : top;
}

/// Of the folders of that name in the first two levels, the one with most in it. Null when there is none, or
/// when damage may hide the right one: all that is left is shown then.
Folder* CPstStore::FindMailboxTree(Folder& top)
{
    Folder* found = nullptr;
    bool isSound = ReadSubfoldersIfSound(top);
    const auto consider = [&](Folder& parent) {
        Folder* const candidate = CFolderTree::FindChild(parent, kMailboxTree);
        if (candidate == nullptr)
            return;
        isSound = ReadSubfoldersIfSound(*candidate) && isSound;
        if (!candidate->children.empty() &&
            (found == nullptr || candidate->children.size() > found->children.size()))
            found = candidate;
    };
    consider(top);
    for (Folder* const folder : std::vector<Folder*>(top.children)) {
        isSound = ReadSubfoldersIfSound(*folder) && isSound;
        consider(*folder);
    }
    return isSound ? found : nullptr;
}

std::u16string CPstStore::PropertyText(Nid nid, std::uint16_t id)
{
    const auto value = CPropertyReader(*m_reader, RequireNode(*m_reader, nid)).Read(id, kLargestName);
    return value ? m_strings.Read(*value).value_or(std::u16string()) : std::u16string();
}

/// The folder's own property where the table has no such column, or not the value.
std::u16string CPstStore::CellText(CTableReader& table, std::size_t row, std::uint16_t id)
{
    const auto cell = table.Cell(row, id, kLargestName);
    if (cell && !cell->tree)
        return m_strings.Read(*cell).value_or(std::u16string());
    const bool isColumn = table.Info().FindId(id) != nullptr;
    return isColumn && id != format::pid::kDisplayName ? std::u16string()
                                                       : PropertyText(Nid{table.RowIdAt(row)}, id);
}

void CPstStore::ReadSubfolders(Folder& folder)
{
    const auto node = RequireNode(*m_reader, Nid::Make(NidType::HierarchyTable, folder.nid.Index()));
    CTableReader table(*m_reader, node);
    for (std::size_t row = 0; row < table.RowCount(); ++row) {
        try {
            ReadSubfolder(folder, table, row);
        } catch (const CFormatError&) {
            ++folder.unreadableChildren;
        } catch (const CStoreError&) {
            ++folder.unreadableChildren;
        }
    }
    folder.childrenKnown = true;
}

/// What fails here is told when the folder itself is asked for its sub-folders.
bool CPstStore::ReadSubfoldersIfSound(Folder& folder)
{
    try {
        SubfoldersOf(folder);
        return folder.unreadableChildren == 0;
    } catch (const CFormatError&) {
        return false;
    } catch (const CStoreError&) {
        return false;
    }
}

void CPstStore::ReadSubfolder(Folder& parent, CTableReader& table, std::size_t row)
{
    const Nid nid{table.RowIdAt(row)};
    // A row that names a folder already met would make the tree a ring.
    if (nid.Type() != NidType::NormalFolder || m_folders.Find(nid) != nullptr)
        return;
    // Longer ones than a folder can have only cost memory: many rows may share one.
    constexpr std::size_t kLongest = 255;
    const std::u16string name = CellText(table, row, format::pid::kDisplayName).substr(0, kLongest);
    const std::u16string containerClass =
        CellText(table, row, format::pid::kContainerClass).substr(0, kLongest);
    Folder& child = m_folders.Add(&parent, nid, name);
    child.containerClass = containerClass;
    child.childrenKnown = false;
}

std::uint32_t CPstStore::UnreadCount(Folder& folder)
{
    if (m_writer)
        return folder.unreadCount;
    CPropertyReader properties(*m_reader, RequireNode(*m_reader, folder.nid));
    const auto count = properties.Read(format::pid::kContentUnreadCount);
    return count ? AsInteger32(*count).value_or(0) : 0;
}

std::unique_ptr<CTableReader> CPstStore::OpenContents(const Folder& folder)
{
    const auto node = RequireNode(Database(), Nid::Make(NidType::ContentsTable, folder.nid.Index()));
    return std::make_unique<CTableReader>(Database(), node);
}

NodeRecord CPstStore::MessageNode(Nid message)
{
    return RequireNode(Database(), message);
}

std::unique_ptr<CPropertyReader> CPstStore::OpenProperties(const NodeRecord& node)
{
    return std::make_unique<CPropertyReader>(Database(), node);
}

MessageDraft CPstStore::ReadMessage(Nid message)
{
    return ReadDraft(Database(), RequireNode(Database(), message));
}

std::vector<Nid> CPstStore::AttachmentsOf(const NodeRecord& message)
{
    std::vector<Nid> attachments;
    const auto node = FindSubnode(Database(), message.sub, format::nids::kAttachmentTable);
    if (!node)
        return attachments;
    CTableReader table(Database(), *node);
    for (std::size_t row = 0; row < table.RowCount(); ++row)
        attachments.push_back({table.RowIdAt(row)});
    return attachments;
}

NodeRecord CPstStore::AttachmentNode(const NodeRecord& message, Nid attachment)
{
    const auto node = FindSubnode(Database(), message.sub, attachment);
    if (!node)
        throw CStoreError(Refusal::NotFound);
    return *node;
}

std::vector<std::byte> CPstStore::ReadTree(const StoredTree& tree)
{
    return CDataTreeReader(Database(), tree.root).ReadAll();
}

}  // namespace pastille::component::pst
