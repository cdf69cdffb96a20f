#include "component/pst/messaging/PstStore.h"

#include <exception>

#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/messaging/FolderWriter.h"
#include "component/pst/messaging/MessagingIds.h"
#include "component/pst/messaging/NewStore.h"
#include "component/pst/messaging/StoreError.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

using format::Nid;
using format::NidType;

// Kinds of default folders, as the session's GetDefaultFolder counts them.
constexpr std::int32_t kDeletedItemsKind = 3;
constexpr std::int32_t kFirstIpmKind = 9;    ///< calendar, contacts, journal, notes, tasks: one property each
constexpr std::int32_t kFirstSyncKind = 19;  ///< conflicts, sync issues, local and server failures: one list
constexpr std::size_t kIpmKinds = 5;
constexpr std::size_t kSyncKinds = 4;

constexpr std::uint64_t kLargestName = 1u << 16;

bool IsUnread(const std::optional<PropertyValue>& flags)
{
    return !flags || (AsInteger32(*flags).value_or(0) & messageflag::kRead) == 0;
}

std::u16string CellText(CTableReader& table, std::size_t row, std::uint16_t id)
{
    const auto cell = table.Cell(row, id, kLargestName);
    return cell && !cell->tree ? AsString(*cell).value_or(std::u16string()) : std::u16string();
}

NodeRecord RequireNode(INodeDatabase& database, Nid nid)
{
    const auto node = database.FindNode(nid);
    if (!node)
        throw CStoreError(Refusal::NotFound);
    return *node;
}

}  // namespace

std::shared_ptr<CPstStore> CPstStore::Create(platform::IFileSystem& files, const std::filesystem::path& path,
                                             std::u16string_view displayName)
{
    if (files.OpenSource(path))
        throw CStoreError(Refusal::Exists);
    std::shared_ptr<CPstStore> store(new CPstStore);
    store->m_file = files.Create(path);
    store->m_writer.emplace(*store->m_file);
    store->StartNew(displayName);
    return store;
}

std::shared_ptr<CPstStore> CPstStore::Open(platform::IFileSystem& files, const std::filesystem::path& path)
{
    std::shared_ptr<CPstStore> store(new CPstStore);
    store->m_source = files.OpenSource(path);
    if (!store->m_source)
        throw CStoreError(Refusal::NotFound);
    store->m_reader = std::make_unique<CNdbReader>(*store->m_source);
    store->StartReading();
    return store;
}

CPstStore::~CPstStore()
{
    if (!m_changed || m_abandoned)
        return;
    try {
        Commit();
    } catch (const std::exception&) {
        // The file stays as the last commit left it; a caller who wants to know commits itself.
        static_cast<void>(m_changed);
    }
}

CNdbWriter& CPstStore::Writer()
{
    if (!m_writer)
        throw CStoreError(Refusal::ReadOnly);
    return *m_writer;
}

INodeDatabase& CPstStore::Database()
{
    if (m_writer)
        return *m_writer;
    return *m_reader;
}

void CPstStore::StartNew(std::u16string_view displayName)
{
    m_recordKey = MakeRecordKey();
    PutMandatoryNodes(*m_writer, m_recordKey, displayName);
    AddCommonNames(m_names);
    AddMandatoryFolders(m_folders);
    for (const auto& folder : m_folders.All())
        PutEmptyFolderTables(*m_writer, *folder);
    m_rootFolder = m_folders.Find(format::nids::kIpmSubtree);
    m_changed = true;
}

void CPstStore::StartReading()
{
    CPropertyReader store(*m_reader, RequireNode(*m_reader, format::nids::kMessageStore));
    const auto nidBehind = [&](std::uint16_t id, Nid usual) {
        const auto value = store.Read(id);
        return value ? NidOfEntryId(value->bytes).value_or(usual) : usual;
    };
    m_deletedItems = nidBehind(format::pid::kIpmWastebasketEntryId, format::nids::kDeletedItems);
    const Nid root = nidBehind(format::pid::kIpmSubtreeEntryId, format::nids::kIpmSubtree);
    RequireNode(*m_reader, root);
    m_rootFolder = &m_folders.Add(nullptr, root, u"");
    m_rootFolder->childrenKnown = m_rootFolder->itemsKnown = false;
    CPropertyReader properties(*m_reader, RequireNode(*m_reader, root));
    if (const auto name = properties.Read(format::pid::kDisplayName, kLargestName))
        m_rootFolder->name = AsString(*name).value_or(std::u16string());
    if (const auto map = m_reader->FindNode(format::nids::kNameToIdMap))
        m_names = CNameMap::Decode(CPropertyReader(*m_reader, *map).ReadAll(64u << 20));
    ReadDefaultFolders();
}

void CPstStore::Commit()
{
    if (!m_writer || m_abandoned)
        return;
    PutChangedFolders();
    PutNameMap();
    m_writer->Commit();
    m_changed = false;
}

Folder& CPstStore::RootFolder()
{
    return *m_rootFolder;
}

const std::vector<Folder*>& CPstStore::SubfoldersOf(Folder& folder)
{
    if (!folder.childrenKnown)
        ReadSubfolders(folder);
    return folder.children;
}

Folder* CPstStore::FindSubfolder(Folder& folder, std::u16string_view name)
{
    SubfoldersOf(folder);
    return CFolderTree::FindChild(folder, name);
}

void CPstStore::ReadSubfolders(Folder& folder)
{
    const auto node = RequireNode(*m_reader, Nid::Make(NidType::HierarchyTable, folder.nid.Index()));
    CTableReader table(*m_reader, node);
    for (std::size_t row = 0; row < table.RowCount(); ++row) {
        const Nid nid{table.RowIdAt(row)};
        // A row that names a folder already met would make the tree a ring.
        if (nid.Type() != NidType::NormalFolder || m_folders.Find(nid) != nullptr)
            continue;
        Folder& child = m_folders.Add(&folder, nid, CellText(table, row, format::pid::kDisplayName));
        child.containerClass = CellText(table, row, format::pid::kContainerClass);
        child.childrenKnown = child.itemsKnown = false;
    }
    folder.childrenKnown = true;
}

Folder& CPstStore::AddFolder(Folder& parent, std::u16string_view name, std::u16string_view containerClass)
{
    CNdbWriter& writer = Writer();
    if (FindSubfolder(parent, name) != nullptr)
        throw CStoreError(Refusal::Exists);
    Folder& folder = m_folders.Add(&parent, writer.AllocateNid(NidType::NormalFolder), name);
    folder.containerClass = containerClass;
    PutEmptyFolderTables(writer, folder);
    FolderChanged(folder);
    FolderChanged(parent);
    return folder;
}

void CPstStore::SetContainerClass(Folder& folder, std::u16string_view containerClass)
{
    Writer();
    folder.containerClass = containerClass;
    FolderChanged(folder);
}

void CPstStore::FolderChanged(Folder& folder)
{
    folder.propertiesChanged = true;
    if (folder.parent != nullptr)
        folder.parent->hierarchyChanged = true;
    m_changed = true;
}

const std::vector<std::uint32_t>& CPstStore::MessagesOf(Folder& folder)
{
    if (!folder.itemsKnown)
        ReadMessages(folder);
    return folder.items;
}

void CPstStore::ReadMessages(Folder& folder)
{
    const auto node = RequireNode(*m_reader, Nid::Make(NidType::ContentsTable, folder.nid.Index()));
    CTableReader table(*m_reader, node);
    for (std::size_t row = 0; row < table.RowCount(); ++row)
        folder.items.push_back(table.RowIdAt(row));
    folder.itemsKnown = true;
}

std::unique_ptr<CPropertyReader> CPstStore::OpenMessage(Nid message)
{
    return std::make_unique<CPropertyReader>(Database(), RequireNode(Database(), message));
}

MessageDraft CPstStore::ReadMessage(Nid message)
{
    return ReadDraft(Database(), RequireNode(Database(), message));
}

std::int32_t CPstStore::AttachmentCount(Nid message)
{
    const auto node = RequireNode(Database(), message);
    const auto table = FindSubnode(Database(), node.sub, format::nids::kAttachmentTable);
    return table ? static_cast<std::int32_t>(CTableReader(Database(), *table).RowCount()) : 0;
}

std::vector<std::byte> CPstStore::ReadTree(const StoredTree& tree)
{
    return CDataTreeReader(Database(), tree.root).ReadAll();
}

std::uint16_t CPstStore::IdOfName(const PropertyName& name)
{
    Writer();
    const auto id = m_names.FindOrAdd(name);
    if (!id)
        throw CStoreError(Refusal::TooLarge);
    return *id;
}

CTableWriter& CPstStore::ContentsTable(Folder& folder)
{
    auto& table = m_contents[folder.nid.value];
    if (!table)
        table = std::make_unique<CTableWriter>(Writer(), tabletemplate::kContentsTableColumns);
    return *table;
}

Nid CPstStore::SaveMessage(Folder& folder, std::optional<Nid> message, MessageDraft& draft)
{
    CNdbWriter& writer = Writer();
    const bool wasUnread = message && IsUnread(OpenMessage(*message)->Read(format::pid::kMessageFlags));
    const auto written = WriteMessage(writer, draft);
    const Nid nid = message ? *message : writer.AllocateNid(NidType::NormalMessage);
    CTableWriter& table = ContentsTable(folder);
    // The folder counts the message only when its row and node are there.
    if (message)
        table.UpdateRow(nid.value, draft.properties);
    else
        table.AddRow(nid.value, draft.properties);
    writer.PutNode(nid, written.content.data, written.content.sub, folder.nid);
    if (message)
        folder.unreadCount -= wasUnread ? 1 : 0;
    else
        folder.items.push_back(nid.value);
    const auto* flags = draft.properties.Find(format::pid::kMessageFlags);
    folder.unreadCount += IsUnread(flags ? std::optional(*flags) : std::nullopt) ? 1 : 0;
    folder.contentsChanged = true;
    FolderChanged(folder);
    return nid;
}

Attachment CPstStore::AddFileAttachment(const AttachmentFile& file, std::uint32_t number)
{
    return WriteFileAttachment(Writer(), file, number);
}

Attachment CPstStore::AddEmbeddedMessage(MessageDraft& message, std::u16string_view displayName,
                                         std::uint32_t number)
{
    return WriteEmbeddedMessage(Writer(), message, displayName, number);
}

void CPstStore::PutChangedFolders()
{
    for (const auto& folder : m_folders.All()) {
        if (const auto table = m_contents.find(folder->nid.value);
            folder->contentsChanged && table != m_contents.end())
            PutContentsTable(*m_writer, *folder, *table->second);
        if (folder->propertiesChanged)
            PutFolderProperties(*m_writer, *folder,
                                folder->parent == nullptr ? DefaultFolderProperties() : CPropertyBag());
        if (folder->hierarchyChanged && folder->nid.Type() == NidType::NormalFolder)
            PutHierarchyTable(*m_writer, *folder);
        folder->contentsChanged = folder->propertiesChanged = folder->hierarchyChanged = false;
    }
}

void CPstStore::PutNameMap()
{
    if (m_namesPut == m_names.Count())
        return;
    const auto content = WritePropertyContext(*m_writer, m_names.Encode());
    m_writer->PutNode(format::nids::kNameToIdMap, content.data, content.sub);
    m_namesPut = m_names.Count();
}

std::optional<std::size_t> CPstStore::PlaceOfKind(std::int32_t kind)
{
    if (kind >= kFirstIpmKind && kind < kFirstIpmKind + static_cast<std::int32_t>(kIpmKinds))
        return static_cast<std::size_t>(kind - kFirstIpmKind);
    if (kind >= kFirstSyncKind && kind < kFirstSyncKind + static_cast<std::int32_t>(kSyncKinds))
        return kIpmKinds + static_cast<std::size_t>(kind - kFirstSyncKind);
    return std::nullopt;
}

Folder* CPstStore::DefaultFolder(std::int32_t kind)
{
    const auto place = PlaceOfKind(kind);
    if (!place && kind != kDeletedItemsKind)
        return nullptr;
    const Nid nid = place ? m_defaultFolders[*place] : m_deletedItems;
    if (nid.value == 0)
        return nullptr;
    if (m_reader) {
        // Only folders that were reached from the root are known so far.
        for (std::size_t i = 0; i < m_folders.All().size() && m_folders.Find(nid) == nullptr; ++i)
            SubfoldersOf(*m_folders.All()[i]);
    }
    return m_folders.Find(nid);
}

void CPstStore::SetDefaultFolder(std::int32_t kind, Folder& folder)
{
    Writer();
    if (const auto place = PlaceOfKind(kind)) {
        m_defaultFolders[*place] = folder.nid;
        FolderChanged(*m_folders.Find(format::nids::kRootFolder));
    }
}

/// The root folder keeps the default folders: one property for each of the first kinds, one list for the
/// others. [MS-OXOSFLD] 2.2.3, 2.2.4
CPropertyBag CPstStore::DefaultFolderProperties() const
{
    CPropertyBag bag;
    for (std::size_t i = 0; i < kIpmKinds; ++i)
        if (m_defaultFolders[i].value != 0)
            bag.Set(BinaryValue(static_cast<std::uint16_t>(pid::kIpmAppointmentEntryId + i),
                                MakeEntryId(m_recordKey, m_defaultFolders[i])));
    std::vector<std::vector<std::byte>> others(kSyncKinds);
    bool hasOthers = false;
    for (std::size_t i = 0; i < kSyncKinds; ++i) {
        const Nid nid = m_defaultFolders[kIpmKinds + i];
        if (nid.value == 0)
            continue;
        const auto entryId = MakeEntryId(m_recordKey, nid);
        others[i].assign(entryId.begin(), entryId.end());
        hasOthers = true;
    }
    if (hasOthers)
        bag.Set({{pid::kAdditionalRenEntryIds, format::PropertyType::MultipleBinary},
                 format::JoinMultiple(others),
                 std::nullopt});
    return bag;
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

}  // namespace pastille::component::pst
