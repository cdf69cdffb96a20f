#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableWriter.h"
#include "component/pst/messaging/Attachment.h"
#include "component/pst/messaging/EntryId.h"
#include "component/pst/messaging/FolderTree.h"
#include "component/pst/messaging/LongValues.h"
#include "component/pst/messaging/Message.h"
#include "component/pst/messaging/NameMap.h"
#include "component/pst/ndb/NdbReader.h"
#include "component/pst/ndb/NdbWriter.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// One PST file at the level of folders and messages: a new one being written (and read back), or a finished
/// one read strictly.
///
/// What is refused comes out as CStoreError, a failing file as std::system_error, a file that breaks the
/// format as CFormatError. After a failure to write, the file holds what the last commit left and every later
/// change fails the same way. Memory: some 100 bytes per message and folder, besides the open blocks of the
/// tables of folders that messages are being saved into.
class CPstStore {
public:
    /// Creates the file. It is no store until the first commit. Raises CStoreError (Exists) when there is
    /// one.
    static std::shared_ptr<CPstStore> Create(platform::IFileSystem& files, const std::filesystem::path& path,
                                             std::u16string_view displayName);
    /// Opens a finished store for reading.
    static std::shared_ptr<CPstStore> Open(platform::IFileSystem& files, const std::filesystem::path& path);

    /// Commits what was not; nobody learns of a failure.
    ~CPstStore();
    CPstStore(const CPstStore&) = delete;
    CPstStore& operator=(const CPstStore&) = delete;

    bool IsWritable() const { return m_writer.has_value(); }
    /// Completes the file with everything saved so far. Nothing on a store opened for reading.
    void Commit();
    /// Nothing more is committed, not even when the store goes.
    void Abandon()
    {
        m_changed = false;
        m_abandoned = true;
    }

    /// The IPM subtree, below which the user's folders are.
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

    /// NIDs of the folder's messages in store order.
    const std::vector<std::uint32_t>& MessagesOf(Folder& folder);
    std::unique_ptr<CPropertyReader> OpenMessage(format::Nid message);
    MessageDraft ReadMessage(format::Nid message);
    std::int32_t AttachmentCount(format::Nid message);
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

private:
    /// Kinds of default folders whose EntryIDs the root folder keeps.
    static constexpr std::size_t kKindCount = 9;

    CPstStore() = default;
    static std::optional<std::size_t> PlaceOfKind(std::int32_t kind);
    CNdbWriter& Writer();
    INodeDatabase& Database();
    void StartNew(std::u16string_view displayName);
    void StartReading();
    void ReadDefaultFolders();
    void ReadSubfolders(Folder& folder);
    void ReadMessages(Folder& folder);
    CTableWriter& ContentsTable(Folder& folder);
    void FolderChanged(Folder& folder);
    CPropertyBag DefaultFolderProperties() const;
    void PutChangedFolders();
    void PutNameMap();

    std::unique_ptr<platform::IFile> m_file;          ///< of a store being written
    std::unique_ptr<platform::IByteSource> m_source;  ///< of a store opened for reading
    std::optional<CNdbWriter> m_writer;
    std::unique_ptr<CNdbReader> m_reader;
    RecordKey m_recordKey{};
    CFolderTree m_folders;
    CNameMap m_names;
    std::optional<std::size_t> m_namesPut;  ///< names in the map as it was put last
    std::array<format::Nid, kKindCount> m_defaultFolders{};
    format::Nid m_deletedItems = format::nids::kDeletedItems;
    Folder* m_rootFolder = nullptr;
    std::unordered_map<std::uint32_t, std::unique_ptr<CTableWriter>> m_contents;  ///< by folder NID
    bool m_changed = false;
    bool m_abandoned = false;
};

}  // namespace pastille::component::pst
