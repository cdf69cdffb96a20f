#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/ltp/TableWriter.h"
#include "component/pst/messaging/Attachment.h"
#include "component/pst/messaging/CheckpointPolicy.h"
#include "component/pst/messaging/EntryId.h"
#include "component/pst/messaging/FolderTree.h"
#include "component/pst/messaging/LongValues.h"
#include "component/pst/messaging/Message.h"
#include "component/pst/messaging/NameMap.h"
#include "component/pst/messaging/StoreOwned.h"
#include "component/pst/messaging/StringReader.h"
#include "component/pst/ndb/NdbReader.h"
#include "component/pst/ndb/NdbWriter.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// One PST file at the level of folders and messages: a new one being written (and read back), or a finished
/// one read strictly.
///
/// What is refused comes out as CStoreError, a failing file as std::system_error, a file that breaks the
/// format as CFormatError. While it grows, a store is brought to the disk again and again, so that a process
/// that is killed leaves a store of all but what was saved last. After a failure to write every later change
/// fails the same way; when the store goes, its file is completed as it was at the last checkpoint. Memory:
/// some 100 bytes per message and folder, besides the open blocks of the tables of folders that messages are
/// being saved into.
class CPstStore {
public:
    static constexpr const char* kUsualCodePage = "windows-1252";

    /// Creates the file, which is a store from then on. Nothing stays behind when that fails.
    /// Raises CStoreError (Exists) when there is one.
    static std::shared_ptr<CPstStore> Create(platform::IFileSystem& files, const std::filesystem::path& path,
                                             std::u16string_view displayName, CheckpointPolicy policy = {});
    /// Completes a store that an interrupted process has left, unless one is still writing it. What is no
    /// such store stays untouched, and so does one that cannot be completed.
    static void CompleteIfInterrupted(platform::IFileSystem& files,
                                      const std::filesystem::path& path) noexcept;
    /// Opens a store for reading: a finished one, one that an interrupted run has left, one that another
    /// program has made, of any variant, PST or OST. `codePage`: of 8-bit texts, where the file does not say;
    /// raises std::invalid_argument when it is unknown. Raises CStoreError (NotFound) when there is no file,
    /// CFormatError when it is no store. What else is damaged shows when it is read.
    static std::shared_ptr<CPstStore> Open(platform::IFileSystem& files, const std::filesystem::path& path,
                                           const std::string& codePage = kUsualCodePage);

    /// Commits what was not, or completes what a failure has left; nobody learns of a failure.
    ~CPstStore();
    CPstStore(const CPstStore&) = delete;
    CPstStore& operator=(const CPstStore&) = delete;

    bool IsWritable() const { return m_writer.has_value(); }
    /// The name that the store gives itself.
    const std::u16string& DisplayName() const { return m_displayName; }
    /// What of the store as a whole could not be read when it was opened, a sentence each.
    const std::vector<std::string>& OpeningFaults() const { return m_openingFaults; }
    /// Completes the file with everything saved so far. Nothing on a store opened for reading.
    void Commit();
    /// Makes a checkpoint when one is due. To be called where no message is half saved; every operation that
    /// saves or adds does it by itself.
    void CheckpointIfDue();
    /// Nothing more is committed, not even when the store goes.
    void Abandon()
    {
        m_changed = false;
        m_abandoned = true;
    }

    /// The folder below which the user's folders are: the IPM subtree; in an OST, which names none, the one
    /// of the mailbox; the root folder 0x122 in a store that has neither.
    Folder& RootFolder();
    const std::vector<Folder*>& SubfoldersOf(Folder& folder);
    /// Null when there is none.
    Folder* FindSubfolder(Folder& folder, std::u16string_view name);
    /// Raises CStoreError (Exists) when there is a sub-folder of that name.
    Folder& AddFolder(Folder& parent, std::u16string_view name, std::u16string_view containerClass);
    void SetContainerClass(Folder& folder, std::u16string_view containerClass);

    /// Null when the store has no default folder of that kind.
    Folder* DefaultFolder(std::int32_t kind);
    /// Remembers the folder under its kind, in place of another. Kinds that a store cannot record are passed
    /// over.
    void SetDefaultFolder(std::int32_t kind, Folder& folder);

    /// Messages that have not been read, as the folder itself counts them.
    std::uint32_t UnreadCount(Folder& folder);
    /// The table of a folder's messages, of a store opened for reading. The folders of one that is being
    /// written know their messages themselves.
    std::unique_ptr<CTableReader> OpenContents(const Folder& folder);
    NodeRecord MessageNode(format::Nid message);
    std::unique_ptr<CPropertyReader> OpenProperties(const NodeRecord& node);
    MessageDraft ReadMessage(format::Nid message);
    /// The attachments of a message in the order of its attachment table.
    std::vector<format::Nid> AttachmentsOf(const NodeRecord& message);
    NodeRecord AttachmentNode(const NodeRecord& message, format::Nid attachment);
    /// Decodes texts; those of 8 bits by what the store's code page is.
    CStringReader& Strings() { return m_strings; }
    /// The bytes of a value given as a tree.
    std::vector<std::byte> ReadTree(const StoredTree& tree);
    const CNameMap& Names() const { return m_names; }

    /// Property id of a name, a new one when there is none yet.
    std::uint16_t IdOfName(const PropertyName& name);
    /// Saves a message into a folder. Without `message` as a new one; else in place of that one, which is in
    /// the same folder. Completes the draft as WriteMessage does.
    format::Nid SaveMessage(Folder& folder, std::optional<format::Nid> message, MessageDraft& draft);
    /// A value to be written into the store, for a message that is saved later.
    CLongValueWriter NewValue() { return CLongValueWriter(Writer()); }
    Attachment AddFileAttachment(const AttachmentFile& file, std::uint32_t number);
    Attachment AddEmbeddedMessage(MessageDraft& message, std::u16string_view displayName,
                                  std::uint32_t number);

    // Objects brought over as they are. All raise CStoreError (ReadOnly) on a store opened for reading.

    /// False of a property that the store keeps itself for such an object, or one of type Object. Raises
    /// CStoreError (BadArgument) when no property can be of that type, or when no name has that id.
    bool TakesProperty(ObjectKind kind, format::PropertyTag tag);
    /// A value as it is set on an object; a long one goes into the store at once. Raises CStoreError
    /// (BadArgument) when the bytes are no value of that type, (TooLarge) when there are more than 2^31 - 1.
    PropertyValue MakeValue(format::PropertyTag tag, std::span<const std::byte> bytes);
    PropertyValue MakeValue(format::PropertyTag tag, platform::IByteStream& stream);
    /// Sets a property that the store takes for folders. False when its container class is of another type
    /// than String, or more than 64 KiB.
    bool SetFolderProperty(Folder& folder, PropertyValue value);
    /// Saves a message into the contents or the associated contents of a folder. Completes the draft with
    /// what every message has to have, and as WriteMessage does.
    format::Nid AddWholeMessage(Folder& folder, bool isAssociated, MessageDraft& draft);
    /// Writes a message as the content of an attachment.
    AttachmentDraft::Object AddWholeEmbedded(MessageDraft& draft);
    /// Copies a stream as the storage of an OLE attachment.
    AttachmentDraft::Object AddObject(platform::IByteStream& stream);
    Attachment AddWholeAttachment(AttachmentDraft& draft, std::uint32_t number);

private:
    // Kinds of default folders whose EntryIDs the root folder keeps, and how many of them.
    static constexpr std::size_t kIpmKinds = 5;   ///< one property each
    static constexpr std::size_t kSyncKinds = 4;  ///< in one list
    static constexpr std::size_t kKindCount = kIpmKinds + kSyncKinds;

    explicit CPstStore(const std::string& codePage = kUsualCodePage) : m_strings(codePage) {}
    static std::optional<std::size_t> PlaceOfKind(std::int32_t kind);
    CNdbWriter& Writer();
    void PutChanges();
    void Checkpoint();
    INodeDatabase& Database();
    void StartNew(std::u16string_view displayName);
    void StartReading();
    template <class Work>
    void AttemptOpening(const char* what, Work&& work);
    void ReadStoreProperties(std::optional<format::Nid>& subtree);
    void ReadNames();
    void ReadDefaultFolders();
    Folder& AddTop(format::Nid nid);
    Folder& FindRoot(std::optional<format::Nid> subtree);
    Folder* FindMailboxTree(Folder& top);
    void ReadSubfolders(Folder& folder);
    bool ReadSubfoldersIfSound(Folder& folder);
    void ReadSubfolder(Folder& parent, CTableReader& table, std::size_t row);
    std::u16string CellText(CTableReader& table, std::size_t row, std::uint16_t id);
    std::u16string PropertyText(format::Nid nid, std::uint16_t id);
    PropertyValue Verified(PropertyValue value);
    format::Nid SaveAssociated(Folder& folder, MessageDraft& draft);
    CTableWriter& FolderTable(const Folder& folder, format::NidType type);
    void FolderChanged(Folder& folder);
    CPropertyBag DefaultFolderProperties() const;
    void PutFolderTable(const Folder& folder, format::NidType type);
    void PutChangedFolders();
    void PutNameMap();

    std::unique_ptr<platform::IFile> m_file;          ///< of a store being written
    std::unique_ptr<platform::IByteSource> m_source;  ///< of a store opened for reading
    std::optional<CNdbWriter> m_writer;
    std::unique_ptr<CNdbReader> m_reader;
    CStringReader m_strings;
    std::u16string m_displayName;
    std::vector<std::string> m_openingFaults;
    RecordKey m_recordKey{};
    CFolderTree m_folders;
    CNameMap m_names;
    std::optional<std::size_t> m_namesPut;  ///< names in the map as it was put last
    std::array<format::Nid, kKindCount> m_defaultFolders{};
    format::Nid m_deletedItems = format::nids::kDeletedItems;
    Folder* m_rootFolder = nullptr;
    std::unordered_map<std::uint32_t, std::unique_ptr<CTableWriter>> m_contents;  ///< by table NID
    CheckpointPolicy m_policy;
    std::chrono::steady_clock::time_point m_lastCheckpoint;
    std::uint64_t m_bytesAtCheckpoint = 0;
    bool m_changed = false;  ///< since the last checkpoint or commit
    bool m_committed = false;
    bool m_abandoned = false;
};

}  // namespace pastille::component::pst
