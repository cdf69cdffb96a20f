#include "component/pst/messaging/PstStore.h"

#include <algorithm>
#include <exception>
#include <system_error>

#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/messaging/CheckpointingStream.h"
#include "component/pst/messaging/FolderWriter.h"
#include "component/pst/messaging/MessagingIds.h"
#include "component/pst/messaging/NewStore.h"
#include "component/pst/messaging/StoreError.h"
#include "component/pst/ndb/StoreCompletion.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

using format::Nid;
using format::NidType;

// Kinds of default folders, as the session's GetDefaultFolder counts them.
constexpr std::int32_t kDeletedItemsKind = 3;
constexpr std::int32_t kFirstIpmKind = 9;    ///< calendar, contacts, journal, notes, tasks: one property each
constexpr std::int32_t kFirstSyncKind = 19;  ///< conflicts, sync issues, local and server failures: one list

bool IsUnread(const std::optional<PropertyValue>& flags)
{
    return !flags || (AsInteger32(*flags).value_or(0) & format::messageflag::kRead) == 0;
}

}  // namespace

std::shared_ptr<CPstStore> CPstStore::Create(platform::IFileSystem& files, const std::filesystem::path& path,
                                             std::u16string_view displayName, CheckpointPolicy policy)
{
    if (files.OpenSource(path) || platform::Exists(path))
        throw CStoreError(Refusal::Exists);
    std::shared_ptr<CPstStore> store(new CPstStore);
    store->m_policy = policy;
    store->m_file = files.Create(path);
    try {
        store->m_file->TryLock();
        store->m_writer.emplace(*store->m_file);
        store->StartNew(displayName);
        store->Checkpoint();
    } catch (...) {
        store->Abandon();
        store.reset();
        files.Remove(path);
        throw;
    }
    return store;
}

void CPstStore::CompleteIfInterrupted(platform::IFileSystem& files,
                                      const std::filesystem::path& path) noexcept
{
    try {
        const auto source = files.OpenSource(path);
        if (!source || !IsInterrupted(*source))
            return;
        const auto file = files.OpenExisting(path);
        // The lock of a process that is writing the store goes with it.
        if (file->TryLock())
            CompleteStore(*file);
    } catch (const std::exception&) {
        // It can be read as it is.
        static_cast<void>(path);
    }
}

CPstStore::~CPstStore()
{
    if (!m_writer || m_abandoned)
        return;
    try {
        if (!m_writer->HasFailed() && (m_changed || !m_committed))
            Commit();
    } catch (const std::exception&) {
        // A caller who wants to know commits itself.
        static_cast<void>(m_changed);
    }
    if (m_writer->HasFailed())
        m_writer->CompleteAfterFailure();
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
    m_displayName = displayName;
    m_recordKey = MakeRecordKey();
    PutMandatoryNodes(*m_writer, m_recordKey, displayName);
    AddCommonNames(m_names);
    AddMandatoryFolders(m_folders);
    for (const auto& folder : m_folders.All())
        PutEmptyFolderTables(*m_writer, *folder);
    m_rootFolder = m_folders.Find(format::nids::kIpmSubtree);
    m_changed = true;
}

/// A store whose own file no longer gives what was written into it cannot go on.
void CPstStore::PutChanges()
try {
    PutChangedFolders();
    PutNameMap();
} catch (const CFormatError&) {
    m_writer->Fail(std::make_error_code(std::errc::io_error));
    throw std::system_error(std::make_error_code(std::errc::io_error), "the store's own blocks");
}

void CPstStore::Commit()
{
    if (!m_writer || m_abandoned)
        return;
    PutChanges();
    m_writer->Commit();
    m_changed = false;
    m_committed = true;
    m_lastCheckpoint = std::chrono::steady_clock::now();
    m_bytesAtCheckpoint = m_writer->FileBytes();
}

void CPstStore::CheckpointIfDue()
{
    if (!m_writer || m_abandoned || !m_changed)
        return;
    // A small store gets there sooner: a disk that is full after 30 MB has not taken all of them.
    constexpr std::uint64_t kSmallestStep = std::uint64_t{1} << 20;
    const std::uint64_t step = std::min(m_policy.bytes, std::max(kSmallestStep, m_writer->FileBytes() / 4));
    if (m_writer->FileBytes() - m_bytesAtCheckpoint >= step ||
        std::chrono::steady_clock::now() - m_lastCheckpoint >= m_policy.time)
        Checkpoint();
}

void CPstStore::Checkpoint()
{
    PutChanges();
    m_writer->Checkpoint();
    m_changed = m_committed = false;
    // From its end, so that on a slow disk one checkpoint does not follow upon the other.
    m_lastCheckpoint = std::chrono::steady_clock::now();
    m_bytesAtCheckpoint = m_writer->FileBytes();
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
    CheckpointIfDue();
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

std::uint16_t CPstStore::IdOfName(const PropertyName& name)
{
    Writer();
    const auto id = m_names.FindOrAdd(name);
    if (!id)
        throw CStoreError(Refusal::TooLarge);
    return *id;
}

/// The contents table of a folder, or that of its associated messages.
CTableWriter& CPstStore::FolderTable(const Folder& folder, NidType type)
{
    auto& table = m_contents[Nid::Make(type, folder.nid.Index()).value];
    if (!table) {
        const std::span<const format::TableColumn> columns =
            type == NidType::ContentsTable
                ? std::span<const format::TableColumn>(tabletemplate::kContentsTableColumns)
                : std::span<const format::TableColumn>(tabletemplate::kAssociatedContentsTableColumns);
        table = std::make_unique<CTableWriter>(Writer(), columns);
    }
    return *table;
}

Nid CPstStore::SaveMessage(Folder& folder, std::optional<Nid> message, MessageDraft& draft)
{
    CNdbWriter& writer = Writer();
    const bool wasUnread =
        message && IsUnread(OpenProperties(MessageNode(*message))->Read(format::pid::kMessageFlags));
    const auto written = WriteMessage(writer, draft);
    const Nid nid = message ? *message : writer.AllocateNid(NidType::NormalMessage);
    CTableWriter& table = FolderTable(folder, NidType::ContentsTable);
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
    CheckpointIfDue();
    return nid;
}

Attachment CPstStore::AddFileAttachment(const AttachmentFile& file, std::uint32_t number)
{
    CCheckpointingStream content(*this, file.content);
    return WriteFileAttachment(Writer(), {content, file.fileName, file.displayName, file.mayBeContactPhoto},
                               number);
}

Attachment CPstStore::AddEmbeddedMessage(MessageDraft& message, std::u16string_view displayName,
                                         std::uint32_t number)
{
    return WriteEmbeddedMessage(Writer(), message, displayName, number);
}

void CPstStore::PutFolderTable(const Folder& folder, NidType type)
{
    const Nid nid = Nid::Make(type, folder.nid.Index());
    if (const auto table = m_contents.find(nid.value); table != m_contents.end())
        PutContentsTable(*m_writer, nid, *table->second);
}

void CPstStore::PutChangedFolders()
{
    for (const auto& folder : m_folders.All()) {
        if (folder->contentsChanged)
            PutFolderTable(*folder, NidType::ContentsTable);
        if (folder->associatedChanged)
            PutFolderTable(*folder, NidType::AssociatedContentsTable);
        if (folder->propertiesChanged)
            PutFolderProperties(*m_writer, *folder,
                                folder->parent == nullptr ? DefaultFolderProperties() : CPropertyBag());
        if (folder->hierarchyChanged && folder->nid.Type() == NidType::NormalFolder)
            PutHierarchyTable(*m_writer, *folder);
        folder->contentsChanged = folder->propertiesChanged = folder->hierarchyChanged = false;
        folder->associatedChanged = false;
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
            ReadSubfoldersIfSound(*m_folders.All()[i]);
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

}  // namespace pastille::component::pst
