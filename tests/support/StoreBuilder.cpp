#include "tests/support/StoreBuilder.h"

#include <algorithm>

#include "format/Heap.h"
#include "format/PropertyContext.h"
#include "tests/support/StoreTemplates.h"

namespace pastille::tests {
namespace {

using format::PropertyType;
namespace pid = format::pid;

/// What a value counts for in PidTagAttachSize.
std::size_t CountedSize(const StoredProperty& property)
{
    if (property.type == PropertyType::Object)
        return format::LoadLE<std::uint32_t>(property.value, 4);
    const std::size_t fixed = FixedSize(property.type);
    return fixed != 0 ? fixed : property.value.size();
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

Bytes CStoreBuilder::CodePageText(std::span<const std::byte> wide) const
{
    const std::string narrow = m_codePage.FromUtf16(TextOf(wide));
    const auto bytes = std::as_bytes(std::span(narrow));
    return {bytes.begin(), bytes.end()};
}

Bytes CStoreBuilder::CodePageTexts(const Bytes& wide) const
{
    const auto elements = format::SplitMultiple(format::CByteView(wide));
    if (!elements)
        return wide;  // broken on purpose
    std::vector<Bytes> texts;
    for (const format::CByteView& element : *elements)
        texts.push_back(CodePageText(element.Bytes()));
    return format::JoinMultiple(texts);
}

Bytes CStoreBuilder::CellText(std::u16string_view text) const
{
    const Bytes wide = Text(0, text).value;
    return m_store.IsWide() ? wide : CodePageText(wide);
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
    StoredProperty stored{property.type, property.value, property.hnid};
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
        (property.inSubnode || stored.value.size() > format::kLargestHeapItem))
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
    return BuildPropertyContext(properties, m_store.BlockBytes(), HidShift()).Finish();
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
        StoredProperty property{PropertyType::Binary, Bytes(value.begin(), value.end())};
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
        properties[pid::kMessageSize].value = LittleEndian(static_cast<std::uint32_t>(size));
    }
    const std::uint64_t data = WriteContext(properties, parts, message.dataBid);
    bytes += parts.dataBytes;
    return {nid, data, m_store.WriteSubnodes(parts.subnodes, name, message.subnodesBid)};
}

void CStoreBuilder::WriteRecipients(const StoreMessage& message, Parts& parts)
{
    std::vector<TableRow> rows;
    const auto stringTag = [this](std::uint32_t id) {
        return id << 16 | static_cast<std::uint32_t>(StringType());
    };
    for (const StoreRecipient& recipient : message.recipients) {
        TableRow row;
        row.id = static_cast<std::uint32_t>(rows.size() + 1);
        row.cells = {
            {0x0C150003, LittleEndian(recipient.type)},       {0x0E0F000B, Bytes(1, std::byte{1})},
            {0x0FFE0003, LittleEndian(std::uint32_t{6})},     {0x39000003, LittleEndian(std::uint32_t{0})},
            {stringTag(0x3001), CellText(recipient.name)},    {stringTag(0x3002), CellText(u"SMTP")},
            {stringTag(0x3003), CellText(recipient.address)}, {stringTag(0x39FF), CellText(recipient.name)}};
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
    Bytes object = LittleEndian(static_cast<std::uint32_t>(message.first.nid));
    Append(object, LittleEndian(size));
    return {PropertyType::Object, std::move(object)};
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
    properties[pid::kAttachSize].value = LittleEndian(static_cast<std::uint32_t>(size));
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
    row.cells[0x0E170003] = LittleEndian(std::uint32_t{0});
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

}  // namespace pastille::tests
