#include <algorithm>

#include "format/NameId.h"
#include "tests/support/StoreBuilder.h"
#include "tests/support/StoreTemplates.h"

// Folders, what else every store has, and whole stores.

namespace pastille::tests {

namespace pid = format::pid;
using format::PropertyType;

namespace {

std::uint32_t WithType(std::uint32_t nid, std::uint32_t type)
{
    return (nid & ~0x1Fu) | type;
}

}  // namespace

void CStoreBuilder::RegisterFolder(std::uint32_t nid, StoreFolder facts, std::uint32_t parent)
{
    Folder& folder = m_folders[nid];
    folder.facts = std::move(facts);
    folder.facts.folders.clear();
    folder.facts.messages.clear();
    folder.parent = parent;
    if (const auto found = m_folders.find(parent); found != m_folders.end() && parent != nid)
        found->second.children.push_back(nid);
}

std::uint32_t CStoreBuilder::AddFolder(const StoreFolder& folder, std::uint32_t parent)
{
    const std::uint32_t nid = folder.nid.value_or(0) != 0 ? *folder.nid : NewNid(2);
    RegisterFolder(nid, folder, parent);
    for (const StoreFolder& child : folder.folders)
        AddFolder(child, nid);
    for (const StoreMessage& message : folder.messages)
        AddMessage(message, nid);
    return nid;
}

void CStoreBuilder::CloseContents(std::uint32_t nid)
{
    Folder& folder = m_folders.at(nid);
    if (folder.closed)
        return;
    const std::string name = "folder " + platform::ToUtf8(folder.facts.name);
    AddTableNode(WithType(nid, 0x0E), kContentsColumns, folder.messages, name + "/contents");
    AddTableNode(WithType(nid, 0x0F), kAssociatedColumns, folder.associated, name + "/associated");
    folder.messages = {};
    folder.associated = {};
    folder.closed = true;
}

void CStoreBuilder::WriteFolder(std::uint32_t nid, const Folder& folder)
{
    Parts parts{"folder " + platform::ToUtf8(folder.facts.name), {}, 0};
    Properties properties;
    for (const StoreProperty& property :
         {Text(pid::kDisplayName, folder.facts.name), Number(pid::kContentCount, folder.count),
          Number(pid::kContentUnreadCount, folder.unread), Flag(pid::kSubfolders, !folder.children.empty())})
        Insert(properties, property, property.id, parts);
    if (!folder.facts.containerClass.empty())
        Insert(properties, Text(0, folder.facts.containerClass), pid::kContainerClass, parts);
    for (const StoreProperty& property : folder.facts.properties)
        Insert(properties, property, property.id, parts);
    NbtEntry entry = WriteContextNode(properties, parts);
    entry.nid = nid;
    entry.parent = folder.facts.parent.value_or(folder.parent);
    m_store.AddNode(entry, parts.name);

    const auto type = static_cast<std::uint32_t>(StringType());
    std::vector<TableRow> rows;
    for (const std::uint32_t child : folder.children) {
        const Folder& below = m_folders.at(child);
        TableRow row;
        row.id = child;
        row.cells = {{0x30010000 | type, CellText(below.facts.name)},
                     {0x36020003, LittleEndian(below.count)},
                     {0x36030003, LittleEndian(below.unread)},
                     {0x360A000B, Bytes(1, static_cast<std::byte>(!below.children.empty()))}};
        if (!below.facts.containerClass.empty())
            row.cells[0x36130000 | type] = CellText(below.facts.containerClass);
        rows.push_back(std::move(row));
    }
    if (nid == kRootFolder) {
        TableRow row;
        row.id = kSearchFolder;
        row.cells = {{0x30010000 | type, CellText(kSearchFolderName)},
                     {0x36020003, Bytes(4)},
                     {0x36030003, Bytes(4)},
                     {0x360A000B, Bytes(1)}};
        rows.push_back(std::move(row));
    }
    AddTableNode(WithType(nid, 0x0D), kHierarchyColumns, rows, parts.name + "/hierarchy");
}

Bytes CStoreBuilder::EntryId(std::uint32_t nid) const
{
    Bytes id(4);
    Append(id, FixedBytes(1, 16));
    Append(id, LittleEndian(nid));
    return id;
}

void CStoreBuilder::WriteFixedNodes()
{
    Parts store{"store", {}, 0};
    Properties properties;
    for (const StoreProperty& property :
         {Binary(pid::kRecordKey, FixedBytes(1, 16)), Text(pid::kDisplayName, m_displayName),
          Number(pid::kValidFolderMask, 0x89), Binary(pid::kIpmSubtreeEntryId, EntryId(kTopFolder)),
          Binary(pid::kIpmWastebasketEntryId, EntryId(kDeletedItems)),
          Binary(pid::kFinderEntryId, EntryId(kSearchRoot)), Number(pid::kPstPassword, 0)})
        Insert(properties, property, property.id, store);
    NbtEntry entry = WriteContextNode(properties, store);
    entry.nid = 0x21;
    m_store.AddNode(entry, "store");

    for (const std::uint32_t empty : {0x1E1u, 0x261u, 0x2226u})
        m_store.AddNode({empty, 0, 0, 0});
    m_store.AddNode(
        {0x201, m_store.WriteBlock(LittleEndian(kSearchFolder), {.name = "search list/data"}), 0, 0});
    AddTableNode(0x60D, kHierarchyColumns, {}, "hierarchy template");
    AddTableNode(0x60E, kContentsColumns, {}, "contents template");
    AddTableNode(0x60F, kAssociatedColumns, {}, "associated template");
    AddTableNode(0x610, kSearchColumns, {}, "search template");
    AddTableNode(0x671, kAttachmentColumns, {}, "attachment template");
    AddTableNode(0x692, kRecipientColumns, {}, "recipient template");
    TableRow receive;
    receive.id = 1;
    receive.cells = {{0x66050003, LittleEndian(kRootFolder)},
                     {0x001A0000 | static_cast<std::uint32_t>(StringType()), {}}};
    AddTableNode(0x62B, kReceiveColumns, {receive}, "receive folders");

    Parts search{"search folder", {}, 0};
    Properties found;
    for (const StoreProperty& property :
         {Text(pid::kDisplayName, kSearchFolderName), Number(pid::kContentCount, 0),
          Number(pid::kContentUnreadCount, 0), Flag(pid::kSubfolders, false)})
        Insert(found, property, property.id, search);
    entry = WriteContextNode(found, search);
    entry.nid = kSearchFolder;
    entry.parent = kRootFolder;
    m_store.AddNode(entry, "search folder");
    Parts criteria{"search criteria", {}, 0};
    entry = WriteContextNode({{0x660B, {PropertyType::Integer32, Bytes(4)}}}, criteria);
    entry.nid = 0x2227;
    m_store.AddNode(entry, "search criteria");
    AddTableNode(0x2230, kSearchColumns, {}, "search contents");
}

void CStoreBuilder::WriteNameMap()
{
    Bytes guids, entries, strings;
    std::vector<format::Guid> sets;
    std::map<std::uint16_t, Bytes> buckets;
    const auto append = [](Bytes& to, const format::NameId& entry) {
        to.resize(to.size() + format::NameId::kSize);
        format::EncodeNameId(entry, std::span(to).last(format::NameId::kSize));
    };
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        const StoreName& name = m_names[i];
        auto known = std::ranges::find(sets, name.set);
        auto guid = static_cast<std::uint16_t>(3 + (known - sets.begin()));
        if (name.set == format::propset::kMapi || name.set == format::propset::kPublicStrings) {
            guid = name.set == format::propset::kMapi ? 1 : 2;
        } else if (known == sets.end()) {
            sets.push_back(name.set);
            guids.resize(guids.size() + format::kGuidSize);
            format::EncodeGuid(name.set, std::span(guids).last(format::kGuidSize));
        }
        const bool isString = !name.name.empty();
        const auto index = static_cast<std::uint16_t>(i);
        const auto place = static_cast<std::uint32_t>(strings.size());
        append(entries, {isString ? place : name.lid, isString, guid, index});
        const format::NameId key{isString ? format::StringNameKey(name.name) : name.lid, isString, guid,
                                 index};
        append(buckets[static_cast<std::uint16_t>(format::namemap::kFirstBucketId + key.Bucket())], key);
        if (isString) {
            const Bytes text = Text(0, name.name).value;
            Append(strings, LittleEndian(static_cast<std::uint32_t>(text.size())));
            Append(strings, text);
            strings.resize((strings.size() + 3) / 4 * 4);
        }
    }
    NameStreams streams{std::move(guids), std::move(entries), std::move(strings)};
    if (m_editNames)
        m_editNames(streams);
    Parts parts{"name map", {}, 0};
    Properties properties;
    Insert(properties, Number(1, format::namemap::kBucketCount), 1, parts);
    Insert(properties, Binary(2, streams.guids), 2, parts);
    Insert(properties, Binary(3, streams.entries), 3, parts);
    Insert(properties, Binary(4, streams.strings), 4, parts);
    for (const auto& [id, bucket] : buckets)
        Insert(properties, Binary(id, bucket), id, parts);
    NbtEntry entry = WriteContextNode(properties, parts);
    entry.nid = 0x61;
    m_store.AddNode(entry, "name map");
}

void CStoreBuilder::Finish(const std::function<void(CStoreFile&)>& beforeTrees)
{
    for (const auto& [nid, folder] : m_folders)
        CloseContents(nid);
    for (const auto& [nid, folder] : m_folders)
        WriteFolder(nid, folder);
    WriteFixedNodes();
    WriteNameMap();
    for (const std::uint32_t type : {0x0Du, 0x0Eu, 0x0Fu})
        m_store.LastIndex(type) = m_store.LastIndex(2);
    if (beforeTrees)
        beforeTrees(m_store);
    m_store.Finish();
}

// ---- whole stores

StoreDirectory BuildStore(const StoreDescription& description, platform::IFile& file)
{
    CStoreBuilder builder(file, description.format, description.displayName, description.topName,
                          description.codePage);
    builder.EditNames(description.editNames);
    if (description.atStart)
        description.atStart(builder.File());
    for (const StoreMessage& message : description.messages)
        builder.AddMessage(message, CStoreBuilder::kTopFolder);
    for (const StoreFolder& folder : description.folders)
        builder.AddFolder(folder);
    builder.Finish(description.beforeTrees);
    return builder.File().Directory();
}

CBuiltStore::CBuiltStore(const StoreDescription& description)
    : m_format(description.format), m_directory(BuildStore(description, *m_file))
{
}

CBuiltStore::CBuiltStore(Bytes content)
    : m_file(std::make_unique<CMemoryFile>(std::move(content))),
      m_directory(FindTreePages(Content(), m_format))
{
}

void CBuiltStore::WriteTo(const std::filesystem::path& path) const
{
    platform::HostFileSystem().Create(path)->WriteAt(0, Content());
}

}  // namespace pastille::tests
