#include "tests/support/StoreBuilder.h"

#include <algorithm>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "format/Ids.h"
#include "format/NameId.h"
#include "tests/support/StoreTemplates.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
using format::StoreLE;
namespace pid = format::pid;

constexpr std::uint32_t kRootFolder = 0x122;
constexpr std::uint32_t kSearchRoot = 0x8042;
constexpr std::uint32_t kDeletedItems = 0x8062;
constexpr std::uint32_t kSearchFolder = 0x2223;
constexpr std::u16string_view kSearchFolderName = u"SPAM Search Folder 2";
constexpr std::uint16_t kHashBuckets = 251;

void Append(Bytes& to, std::span<const std::byte> more)
{
    to.insert(to.end(), more.begin(), more.end());
}

template <class Integer>
Bytes Stored(Integer value)
{
    Bytes bytes(sizeof value);
    StoreLE(std::span(bytes), 0, value);
    return bytes;
}

/// What a value counts for in PidTagAttachSize.
std::size_t CountedSize(const StoredProperty& property)
{
    if (property.type == PropertyType::Object)
        return format::LoadLE<std::uint32_t>(property.value, 4);
    const std::size_t fixed = FixedSize(property.type);
    return fixed != 0 ? fixed : property.value.size();
}

[[noreturn]] std::uint32_t NoSubnode(std::span<const std::byte>)
{
    throw std::logic_error("a value was not placed before its context was built");
}

std::uint32_t WithType(std::uint32_t nid, std::uint32_t type)
{
    return (nid & ~0x1Fu) | type;
}

}  // namespace

CStoreBuilder::CStoreBuilder(platform::IFile& file, const StoreFormat& format, std::u16string displayName,
                             std::u16string topName, const std::string& codePage)
    : m_store(file, format), m_displayName(std::move(displayName)), m_codePage(codePage)
{
    m_store.LastIndex(2) = kDeletedItems >> 5;
    // Mail clients' stores always map some names, and readers refuse a map without any.
    PropertyIdOf({format::propset::kCommon, 0x8580});
    RegisterFolder(kRootFolder, {}, kRootFolder);
    RegisterFolder(kTopFolder, {.name = std::move(topName)}, kRootFolder);
    RegisterFolder(kSearchRoot, {.name = u"Search Root"}, kRootFolder);
    RegisterFolder(kDeletedItems, {.name = u"Deleted Items"}, kTopFolder);
}

std::uint32_t CStoreBuilder::NewNid(std::uint32_t type)
{
    return (++m_store.LastIndex(type) << 5) | type;
}

unsigned CStoreBuilder::HidShift() const
{
    return m_store.Layout().variant == format::Variant::Unicode4k ? 19 : 16;
}

PropertyType CStoreBuilder::StringType() const
{
    return m_store.IsWide() ? PropertyType::String : PropertyType::String8;
}

Bytes CStoreBuilder::CodePageText(const Bytes& wide) const
{
    const std::string narrow = m_codePage.FromUtf16(TextOf(wide));
    const auto bytes = std::as_bytes(std::span(narrow));
    return {bytes.begin(), bytes.end()};
}

Bytes CStoreBuilder::CodePageTexts(const Bytes& wide) const
{
    const auto count = format::LoadLE<std::uint32_t>(wide, 0);
    if (count > wide.size() / 4 - 1)
        return wide;  // broken on purpose
    Bytes narrow(4 + 4 * count);
    StoreLE(std::span(narrow), 0, count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto start = format::LoadLE<std::uint32_t>(wide, 4 + 4 * i);
        const auto end = i + 1 < count ? format::LoadLE<std::uint32_t>(wide, 8 + 4 * i)
                                       : static_cast<std::uint32_t>(wide.size());
        StoreLE(std::span(narrow), 4 + 4 * i, static_cast<std::uint32_t>(narrow.size()));
        Append(narrow, CodePageText(Bytes(wide.begin() + start, wide.begin() + end)));
    }
    return narrow;
}

// ---- property contexts and tables

void CStoreBuilder::MoveToSubnode(StoredProperty& property, std::size_t leafBytes, Parts& parts)
{
    const std::uint32_t nid = NewNid(0x1F);
    parts.subnodes.push_back({nid, m_store.WriteData(property.value, parts.name + "/value", leafBytes), 0});
    parts.dataBytes += property.value.size();
    property.hnid = nid;
}

void CStoreBuilder::Insert(Properties& into, const StoreProperty& property, std::uint16_t id, Parts& parts)
{
    StoredProperty stored{property.type, property.value, property.hnid, false};
    if (!m_store.IsWide() && property.type == PropertyType::String) {
        stored.type = PropertyType::String8;
        stored.value = CodePageText(property.value);
    }
    if (!m_store.IsWide() && property.type == PropertyType::MultipleString) {
        stored.type = PropertyType::MultipleString8;
        stored.value = CodePageTexts(property.value);
    }
    const bool variable = FixedSize(stored.type) == 0 && stored.type != PropertyType::Object;
    if (variable && !stored.hnid && !stored.value.empty() &&
        (property.inSubnode || stored.value.size() > CHeapBuilder::kLargestItem))
        MoveToSubnode(stored, property.leafBytes, parts);
    into.insert_or_assign(id, std::move(stored));
}

/// Moves the largest values to subnodes until the rest fits one heap block, as mail clients do.
void CStoreBuilder::KeepFirstBlock(Properties& properties, Parts& parts)
{
    if (m_store.Format().spillHeaps)
        return;
    while (Context(properties).size() > 1) {
        StoredProperty* largest = nullptr;
        for (auto& [id, property] : properties) {
            if (property.hnid || FixedSize(property.type) != 0 || property.type == PropertyType::Object)
                continue;
            if (largest == nullptr || property.value.size() > largest->value.size())
                largest = &property;
        }
        if (largest == nullptr || largest->value.empty())
            return;
        MoveToSubnode(*largest, 0, parts);
    }
}

std::vector<Bytes> CStoreBuilder::Context(const Properties& properties) const
{
    return BuildPropertyContext(properties, NoSubnode, m_store.BlockBytes(), HidShift()).Finish();
}

std::uint64_t CStoreBuilder::WriteContext(const Properties& properties, Parts& parts,
                                          std::optional<std::uint64_t> bid)
{
    const std::vector<Bytes> blocks = Context(properties);
    for (const Bytes& block : blocks)
        parts.dataBytes += block.size();
    if (bid && blocks.size() == 1)
        return m_store.WriteBlock(blocks.front(), {.name = parts.name + "/data", .bid = bid});
    return m_store.WriteDataTree(blocks, parts.name);
}

NbtEntry CStoreBuilder::WriteContextNode(Properties properties, Parts& parts)
{
    KeepFirstBlock(properties, parts);
    NbtEntry entry;
    entry.bidData = WriteContext(properties, parts);
    entry.bidSub = m_store.WriteSubnodes(parts.subnodes, parts.name);
    return entry;
}

std::vector<std::uint32_t> CStoreBuilder::Columns(std::vector<std::uint32_t> tags) const
{
    for (std::uint32_t& tag : tags) {
        if ((tag & 0xFFFF) == 0x1F && !m_store.IsWide())
            tag = (tag & ~0xFFFFu) | 0x1E;
    }
    return tags;
}

SubnodeRef CStoreBuilder::WriteTable(std::uint32_t nid, std::vector<std::uint32_t> tags,
                                     const std::vector<TableRow>& rows, const std::string& name,
                                     std::size_t* bytes)
{
    Parts parts{name, {}, 0};
    const auto toSubnode = [&](std::span<const std::byte> value) {
        StoredProperty property{PropertyType::Binary, Bytes(value.begin(), value.end()), {}, false};
        MoveToSubnode(property, 0, parts);
        return *property.hnid;
    };
    const BuiltTable table = BuildTable(Columns(std::move(tags)), rows, toSubnode, m_store.BlockBytes(),
                                        HidShift(), !m_store.IsWide(), m_counters);
    if (!table.rows.empty())
        parts.subnodes.push_back(
            {BuiltTable::kRowMatrixNid, m_store.WriteDataTree(table.rows, name + "/rows"), 0});
    for (const Bytes& block : table.heap)
        parts.dataBytes += block.size();
    for (const Bytes& block : table.rows)
        parts.dataBytes += block.size();
    if (bytes != nullptr)
        *bytes += parts.dataBytes;
    const std::uint64_t data = m_store.WriteDataTree(table.heap, name);
    return {nid, data, m_store.WriteSubnodes(parts.subnodes, name)};
}

void CStoreBuilder::AddTableNode(std::uint32_t nid, const std::vector<std::uint32_t>& tags,
                                 const std::vector<TableRow>& rows, const std::string& name)
{
    const SubnodeRef table = WriteTable(nid, tags, rows, name);
    m_store.AddNode({nid, table.bidData, table.bidSub, 0}, name);
}

// ---- messages

std::uint16_t CStoreBuilder::PropertyIdOf(const StoreName& name)
{
    const auto [found, added] = m_ids.emplace(name, static_cast<std::uint16_t>(0x8000 + m_names.size()));
    if (added)
        m_names.push_back(name);
    return found->second;
}

CStoreBuilder::Properties CStoreBuilder::MessageProperties(const StoreMessage& message, std::uint32_t nid,
                                                           Parts& parts)
{
    Properties properties;
    if (!message.bare) {
        constexpr std::uint64_t kSomeTime = 133'000'000'000'000'000;
        const std::uint32_t hasAttachment = message.attachments.empty() ? 0 : 0x10;
        const std::uint32_t associated = message.associated ? 0x40 : 0;
        for (const StoreProperty& property :
             {Text(pid::kMessageClass, message.messageClass),
              Number(pid::kMessageFlags, message.flags | hasAttachment | associated),
              Number(pid::kMessageSize, 0), Time(pid::kCreationTime, kSomeTime),
              Time(pid::kLastModificationTime, kSomeTime), Binary(pid::kSearchKey, FixedBytes(nid, 16))})
            Insert(properties, property, property.id, parts);
    }
    for (const StoreProperty& property : message.properties)
        Insert(properties, property, property.id, parts);
    for (const StoreNamedProperty& named : message.named)
        Insert(properties, named.property, PropertyIdOf(named.name), parts);
    return properties;
}

SubnodeRef CStoreBuilder::WriteMessage(const StoreMessage& message, std::uint32_t nid,
                                       const std::string& name, Properties& properties, std::size_t& bytes)
{
    Parts parts{name, {}, 0};
    properties = MessageProperties(message, nid, parts);
    if (!message.bare || !message.recipients.empty())
        WriteRecipients(message, parts);
    WriteAttachments(message, parts);
    parts.subnodes.insert(parts.subnodes.end(), message.subnodes.begin(), message.subnodes.end());
    KeepFirstBlock(properties, parts);
    const bool stated = std::ranges::any_of(
        message.properties, [](const StoreProperty& property) { return property.id == pid::kMessageSize; });
    if (!message.bare && !stated) {
        std::size_t size = parts.dataBytes;
        for (const Bytes& block : Context(properties))
            size += block.size();
        properties[pid::kMessageSize].value = Stored(static_cast<std::uint32_t>(size));
    }
    const std::uint64_t data = WriteContext(properties, parts, message.dataBid);
    bytes += parts.dataBytes;
    return {nid, data, m_store.WriteSubnodes(parts.subnodes, name, message.subnodesBid)};
}

void CStoreBuilder::WriteRecipients(const StoreMessage& message, Parts& parts)
{
    std::vector<TableRow> rows;
    const auto text = [this](std::u16string_view value) {
        const Bytes wide = Text(0, value).value;
        return m_store.IsWide() ? wide : CodePageText(wide);
    };
    const auto stringTag = [this](std::uint32_t id) {
        return id << 16 | static_cast<std::uint32_t>(StringType());
    };
    for (const StoreRecipient& recipient : message.recipients) {
        TableRow row;
        row.id = static_cast<std::uint32_t>(rows.size() + 1);
        row.cells = {{0x0C150003, Stored(recipient.type)},         {0x0E0F000B, Bytes(1, std::byte{1})},
                     {0x0FFE0003, Stored(std::uint32_t{6})},       {0x39000003, Stored(std::uint32_t{0})},
                     {stringTag(0x3001), text(recipient.name)},    {stringTag(0x3002), text(u"SMTP")},
                     {stringTag(0x3003), text(recipient.address)}, {stringTag(0x39FF), text(recipient.name)}};
        rows.push_back(std::move(row));
    }
    parts.subnodes.push_back(
        WriteTable(0x692, kRecipientColumns, rows, parts.name + "/recipients", &parts.dataBytes));
}

void CStoreBuilder::WriteAttachments(const StoreMessage& message, Parts& parts)
{
    if (message.attachments.empty())
        return;
    std::vector<TableRow> rows;
    for (const StoreAttachment& attachment : message.attachments) {
        TableRow row;
        const std::string name = parts.name + "/attachment " + std::to_string(rows.size());
        parts.subnodes.push_back(WriteAttachment(attachment, name, row, parts.dataBytes));
        rows.push_back(std::move(row));
    }
    parts.subnodes.push_back(
        WriteTable(0x671, kAttachmentColumns, rows, parts.name + "/attachments", &parts.dataBytes));
}

StoredProperty CStoreBuilder::WriteEmbedded(const StoreAttachment& attachment, Parts& parts)
{
    std::pair<SubnodeRef, std::size_t> message{};
    const auto known = m_shared.find(attachment.embedded.get());
    if (attachment.shareEmbedded && known != m_shared.end()) {
        message = known->second;
    } else {
        Properties inner;
        message.first =
            WriteMessage(*attachment.embedded, NewNid(4), parts.name + "/message", inner, message.second);
        m_shared[attachment.embedded.get()] = message;
    }
    const auto size = static_cast<std::uint32_t>(std::min<std::size_t>(message.second, 0x7FFFFFFF));
    parts.subnodes.push_back(message.first);
    parts.dataBytes += message.second;
    Bytes object = Stored(message.first.nid);
    Append(object, Stored(size));
    return {PropertyType::Object, std::move(object), {}, false};
}

SubnodeRef CStoreBuilder::WriteAttachment(const StoreAttachment& attachment, const std::string& name,
                                          TableRow& row, std::size_t& bytes)
{
    Parts parts{name, {}, 0};
    const std::uint32_t nid = NewNid(5);
    Properties properties;
    for (const StoreProperty& property :
         {Number(pid::kAttachSize, 0), Text(pid::kAttachFilename, attachment.fileName),
          Number(pid::kAttachMethod, attachment.method), Text(pid::kAttachLongFilename, attachment.fileName),
          Number(pid::kRenderingPosition, 0xFFFFFFFF)})
        Insert(properties, property, property.id, parts);
    if (attachment.embedded) {
        properties[pid::kAttachDataBinary] = WriteEmbedded(attachment, parts);
    } else if (!attachment.data.empty()) {
        StoreProperty data = Binary(pid::kAttachDataBinary, attachment.data);
        data.inSubnode = attachment.inSubnode || attachment.leafBytes != 0;
        data.leafBytes = attachment.leafBytes;
        Insert(properties, data, data.id, parts);
    }
    std::size_t size = 0;
    for (const auto& [id, property] : properties)
        size += CountedSize(property);
    properties[pid::kAttachSize].value = Stored(static_cast<std::uint32_t>(size));
    for (const StoreProperty& property : attachment.properties)
        Insert(properties, property, property.id, parts);
    for (const std::uint16_t id : attachment.omitted)
        properties.erase(id);
    parts.subnodes.insert(parts.subnodes.end(), attachment.subnodes.begin(), attachment.subnodes.end());
    const NbtEntry entry = WriteContextNode(properties, parts);
    bytes += parts.dataBytes;
    row.id = nid;
    for (const auto& [id, property] : properties)
        row.cells[std::uint32_t{id} << 16 | static_cast<std::uint32_t>(property.type)] = property.value;
    return {nid, entry.bidData, entry.bidSub};
}

TableRow CStoreBuilder::ContentsRow(std::uint32_t nid, const Properties& properties, bool associated) const
{
    TableRow row;
    row.id = nid;
    for (const std::uint32_t tag : Columns(associated ? kAssociatedColumns : kContentsColumns)) {
        const auto found = properties.find(static_cast<std::uint16_t>(tag >> 16));
        if (found != properties.end() && static_cast<std::uint32_t>(found->second.type) == (tag & 0xFFFF))
            row.cells[tag] = found->second.value;
    }
    row.cells[0x0E170003] = Stored(std::uint32_t{0});
    return row;
}

std::uint32_t CStoreBuilder::AddMessage(const StoreMessage& message, std::uint32_t folder)
{
    const std::uint32_t nid =
        message.nid.value_or(0) != 0 ? *message.nid : NewNid(message.associated ? 8 : 4);
    const std::string name =
        message.label.empty() ? "message " + std::to_string(++m_unlabelled) : message.label;
    Properties properties;
    std::size_t bytes = 0;
    m_store.ListBlocks(message.deletion != Deletion::OfNodeAndBlocks);
    const SubnodeRef written = WriteMessage(message, nid, name, properties, bytes);
    m_store.ListBlocks(true);
    if (message.deletion != Deletion::None)
        return nid;
    m_store.AddNode({nid, written.bidData, written.bidSub, message.parent.value_or(folder)}, name);
    Folder& target = m_folders.at(folder);
    if (message.associated) {
        target.associated.push_back(ContentsRow(nid, properties, true));
        return nid;
    }
    target.messages.push_back(ContentsRow(nid, properties, false));
    ++target.count;
    target.unread += (message.flags & 1) == 0 ? 1u : 0u;
    return nid;
}

// ---- folders

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
    const auto text = [this](std::u16string_view value) {
        return m_store.IsWide() ? Text(0, value).value : CodePageText(Text(0, value).value);
    };
    std::vector<TableRow> rows;
    for (const std::uint32_t child : folder.children) {
        const Folder& below = m_folders.at(child);
        TableRow row;
        row.id = child;
        row.cells = {{0x30010000 | type, text(below.facts.name)},
                     {0x36020003, Stored(below.count)},
                     {0x36030003, Stored(below.unread)},
                     {0x360A000B, Bytes(1, static_cast<std::byte>(!below.children.empty()))}};
        if (!below.facts.containerClass.empty())
            row.cells[0x36130000 | type] = text(below.facts.containerClass);
        rows.push_back(std::move(row));
    }
    if (nid == kRootFolder) {
        TableRow row;
        row.id = kSearchFolder;
        row.cells = {{0x30010000 | type, text(kSearchFolderName)},
                     {0x36020003, Bytes(4)},
                     {0x36030003, Bytes(4)},
                     {0x360A000B, Bytes(1)}};
        rows.push_back(std::move(row));
    }
    AddTableNode(WithType(nid, 0x0D), kHierarchyColumns, rows, parts.name + "/hierarchy");
}

// ---- nodes that every store has

Bytes CStoreBuilder::EntryId(std::uint32_t nid) const
{
    Bytes id(4);
    Append(id, FixedBytes(1, 16));
    Append(id, Stored(nid));
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
    m_store.AddNode({0x201, m_store.WriteBlock(Stored(kSearchFolder), {.name = "search list/data"}), 0, 0});
    AddTableNode(0x60D, kHierarchyColumns, {}, "hierarchy template");
    AddTableNode(0x60E, kContentsColumns, {}, "contents template");
    AddTableNode(0x60F, kAssociatedColumns, {}, "associated template");
    AddTableNode(0x610, kSearchColumns, {}, "search template");
    AddTableNode(0x671, kAttachmentColumns, {}, "attachment template");
    AddTableNode(0x692, kRecipientColumns, {}, "recipient template");
    TableRow receive;
    receive.id = 1;
    receive.cells = {{0x66050003, Stored(kRootFolder)},
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
    entry = WriteContextNode({{0x660B, {PropertyType::Integer32, Bytes(4), {}, false}}}, criteria);
    entry.nid = 0x2227;
    m_store.AddNode(entry, "search criteria");
    AddTableNode(0x2230, kSearchColumns, {}, "search contents");
}

void CStoreBuilder::WriteNameMap()
{
    Bytes guids, entries, strings;
    std::vector<format::Guid> sets;
    std::map<std::uint16_t, Bytes> buckets;
    for (std::size_t i = 0; i < m_names.size(); ++i) {
        const StoreName& name = m_names[i];
        std::uint16_t guid = 0;
        if (name.set == format::propset::kMapi)
            guid = 1;
        else if (name.set == format::propset::kPublicStrings)
            guid = 2;
        else {
            const auto known = std::find(sets.begin(), sets.end(), name.set);
            guid = static_cast<std::uint16_t>(3 + (known - sets.begin()));
            if (known == sets.end()) {
                sets.push_back(name.set);
                guids.resize(guids.size() + format::kGuidSize);
                format::EncodeGuid(name.set, std::span(guids).last(format::kGuidSize));
            }
        }
        const Bytes text = Text(0, name.name).value;
        const bool isString = !text.empty();
        const auto word = static_cast<std::uint16_t>(guid << 1 | (isString ? 1 : 0));
        const std::uint32_t key = isString ? format::ComputeCrc(text) : name.lid;
        Bytes tail = Stored(word);
        Append(tail, Stored(static_cast<std::uint16_t>(i)));
        Append(entries, Stored(isString ? static_cast<std::uint32_t>(strings.size()) : name.lid));
        Append(entries, tail);
        Bytes& bucket = buckets[static_cast<std::uint16_t>(0x1000 + (key ^ word) % kHashBuckets)];
        Append(bucket, Stored(key));
        Append(bucket, tail);
        if (isString) {
            Append(strings, Stored(static_cast<std::uint32_t>(text.size())));
            Append(strings, text);
            strings.resize((strings.size() + 3) / 4 * 4);
        }
    }
    NameStreams streams{std::move(guids), std::move(entries), std::move(strings)};
    if (m_editNames)
        m_editNames(streams);
    Parts parts{"name map", {}, 0};
    Properties properties;
    Insert(properties, Number(1, kHashBuckets), 1, parts);
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
