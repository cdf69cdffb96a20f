#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Text.h"
#include "tests/support/StoreDamage.h"
#include "tests/support/StoreDescription.h"
#include "tests/support/StoreFile.h"
#include "tests/support/StoreHeap.h"

namespace pastille::tests {

/// Writes the messaging layer of a store, item by item: messages go to the file as they are added, folders
/// keep their table rows until they are closed. [MS-PST] 2.4
class CStoreBuilder {
public:
    static constexpr std::uint32_t kTopFolder = 0x8022;

    /// `file` must be empty and outlive this object.
    CStoreBuilder(platform::IFile& file, const StoreFormat& format, std::u16string displayName,
                  std::u16string topName = u"Top of Personal Folders",
                  const std::string& codePage = "windows-1252");

    CStoreFile& File() { return m_store; }
    /// Called with the streams of the name map before they are written.
    void EditNames(std::function<void(NameStreams&)> edit) { m_editNames = std::move(edit); }

    /// Each returns the new node's id.
    std::uint32_t AddFolder(const StoreFolder& folder, std::uint32_t parent = kTopFolder);
    std::uint32_t AddMessage(const StoreMessage& message, std::uint32_t folder);
    /// Writes a folder's contents tables and forgets their rows. Nothing can be added to it afterwards.
    void CloseContents(std::uint32_t folder);

    /// Writes what is left: folders, named properties, the store node, the trees, the header.
    void Finish(const std::function<void(CStoreFile&)>& beforeTrees = {});

private:
    using Properties = std::map<std::uint16_t, StoredProperty>;
    struct Folder {
        StoreFolder facts;
        std::uint32_t parent = 0;
        std::vector<std::uint32_t> children;
        std::vector<TableRow> messages, associated;
        std::uint32_t count = 0, unread = 0;
        bool closed = false;
    };
    /// A node's data and subnodes while it is being made.
    struct Parts {
        std::string name;
        std::vector<SubnodeRef> subnodes;
        std::size_t dataBytes = 0;  ///< decoded bytes of all leaf data
    };

    std::uint32_t NewNid(std::uint32_t type);
    unsigned HidShift() const;
    Bytes CodePageText(std::span<const std::byte> wide) const;
    Bytes CodePageTexts(const Bytes& wide) const;
    Bytes CellText(std::u16string_view text) const;
    format::PropertyType StringType() const;
    void Insert(Properties& into, const StoreProperty& property, std::uint16_t id, Parts& parts);
    void MoveToSubnode(StoredProperty& property, std::size_t leafBytes, Parts& parts);
    void KeepFirstBlock(Properties& properties, Parts& parts);
    std::vector<Bytes> Context(const Properties& properties) const;
    std::uint64_t WriteContext(const Properties& properties, Parts& parts,
                               std::optional<std::uint64_t> bid = {});
    NbtEntry WriteContextNode(Properties properties, Parts& parts);
    SubnodeRef WriteTable(std::uint32_t nid, std::vector<std::uint32_t> tags,
                          const std::vector<TableRow>& rows, const std::string& name,
                          std::size_t* bytes = nullptr);
    void AddTableNode(std::uint32_t nid, const std::vector<std::uint32_t>& tags,
                      const std::vector<TableRow>& rows, const std::string& name);
    std::vector<std::uint32_t> Columns(std::vector<std::uint32_t> tags) const;

    SubnodeRef WriteMessage(const StoreMessage& message, std::uint32_t nid, const std::string& name,
                            Properties& properties, std::size_t& bytes);
    SubnodeRef WriteAttachment(const StoreAttachment& attachment, const std::string& name, TableRow& row,
                               std::size_t& bytes);
    StoredProperty WriteEmbedded(const StoreAttachment& attachment, Parts& parts);
    void WriteRecipients(const StoreMessage& message, Parts& parts);
    void WriteAttachments(const StoreMessage& message, Parts& parts);
    Properties MessageProperties(const StoreMessage& message, std::uint32_t nid, Parts& parts);
    TableRow ContentsRow(std::uint32_t nid, const Properties& properties, bool associated) const;
    std::uint16_t PropertyIdOf(const StoreName& name);

    void RegisterFolder(std::uint32_t nid, StoreFolder facts, std::uint32_t parent);
    void WriteFolder(std::uint32_t nid, const Folder& folder);
    void WriteFixedNodes();
    void WriteNameMap();
    Bytes EntryId(std::uint32_t nid) const;

    CStoreFile m_store;
    std::u16string m_displayName;
    platform::CCodePage m_codePage;
    std::map<std::uint32_t, Folder> m_folders;
    std::vector<StoreName> m_names;
    std::map<StoreName, std::uint16_t> m_ids;
    std::map<const StoreMessage*, std::pair<SubnodeRef, std::size_t>> m_shared;  ///< and their bytes
    std::function<void(NameStreams&)> m_editNames;
    TableCounters m_counters;
    std::uint32_t m_unlabelled = 0;
};

/// A store in memory and what is known of it.
class CBuiltStore {
public:
    explicit CBuiltStore(const StoreDescription& description);
    /// A sound store that somebody else wrote: of the directory only the tree pages.
    explicit CBuiltStore(Bytes content);

    const Bytes& Content() const { return m_file->Content(); }
    const StoreDirectory& Directory() const { return m_directory; }
    const StoreFormat& Format() const { return m_format; }
    std::uint32_t Nid(const std::string& name) const { return m_directory.nodes.at(name); }
    CStoreDamage Damage() { return CStoreDamage(*m_file, m_directory, m_format); }
    void WriteTo(const std::filesystem::path& path) const;

private:
    std::unique_ptr<CMemoryFile> m_file = std::make_unique<CMemoryFile>();
    StoreFormat m_format;
    StoreDirectory m_directory;
};

/// Builds a description into any file. Returns where everything landed.
StoreDirectory BuildStore(const StoreDescription& description, platform::IFile& file);

}  // namespace pastille::tests
