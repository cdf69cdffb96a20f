#include "component/pst/messaging/Message.h"

#include <algorithm>
#include <limits>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/ltp/TableWriter.h"
#include "component/pst/messaging/MessagingIds.h"
#include "component/pst/messaging/StoreError.h"
#include "format/Heap.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

using format::PropertyType;

constexpr std::uint64_t kLargestSize = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kCopyBytes = 1u << 20;
/// Embedded messages below one another that are followed when sizes are summed.
constexpr unsigned kDeepestNesting = 256;
constexpr std::uint32_t kNotRendered = 0xFFFFFFFF;

std::uint32_t SizeValue(std::uint64_t size)
{
    return static_cast<std::uint32_t>(std::min(size, kLargestSize));
}

StoredTree WriteTree(CNdbWriter& writer, std::span<const std::byte> bytes)
{
    CDataTreeWriter tree(writer);
    tree.Append(bytes);
    const auto size = tree.Size();
    return {tree.Finish(), size};
}

/// Writes the values that no heap item can hold, so that the context can be written more than once.
void StoreLongValues(CNdbWriter& writer, CPropertyBag& bag)
{
    std::vector<PropertyValue> stored;
    for (const PropertyValue& value : bag.Values())
        if (!value.tree && value.bytes.size() > format::kLargestHeapItem)
            stored.push_back(TreeValue(value.tag, WriteTree(writer, value.bytes)));
    for (PropertyValue& value : stored)
        bag.Set(std::move(value));
}

std::uint64_t SizeOfTrees(const CPropertyBag& bag)
{
    std::uint64_t size = 0;
    for (const PropertyValue& value : bag.Values())
        size += value.tree ? value.tree->size : 0;
    return size;
}

/// Bytes of the heap that the bag takes as a property context, as long as that is one block. [MS-PST] 2.3.1
std::uint64_t ContextSize(const CPropertyBag& bag)
{
    constexpr std::size_t kBthHeader = 8, kRecord = 8;
    std::size_t items = 2;
    std::uint64_t end = format::HeapHeaderSize(0) + kBthHeader + kRecord * bag.Values().size();
    for (const PropertyValue& value : bag.Values()) {
        if (value.tree || value.bytes.empty() || format::StorageRuleOf(value.tag.type).isInlineInContext)
            continue;
        end += value.bytes.size();
        ++items;
    }
    return (end + 1) / 2 * 2 + 4 + 2 * (items + 1);
}

/// PidTagAttachSize: the sizes of all values, an object with the size it states.
std::uint64_t SizeOfValues(const CPropertyBag& bag)
{
    std::uint64_t size = 0;
    for (const PropertyValue& value : bag.Values())
        size += value.tag.type == PropertyType::Object
                    ? format::CByteView(value.bytes).ReadOrZero<std::uint32_t>(4)
                    : value.Size();
    return size;
}

std::uint64_t AddRecipientTable(CNdbWriter& writer, CSubnodeTreeWriter& subnodes)
{
    const auto table = CTableWriter(writer, tabletemplate::kRecipientTableColumns).Finish();
    subnodes.Add(format::nids::kRecipientTable, table.data, table.sub);
    return table.dataSize + table.subnodeSize;
}

std::uint64_t AddAttachments(CNdbWriter& writer, const std::vector<Attachment>& attachments,
                             CSubnodeTreeWriter& subnodes)
{
    if (attachments.empty())
        return 0;
    CTableWriter table(writer, tabletemplate::kAttachmentTableColumns);
    std::uint64_t size = 0;
    for (const Attachment& attachment : attachments) {
        table.AddRow(attachment.nid.value, attachment.row);
        subnodes.Add(attachment.nid, attachment.data, attachment.sub);
        size += attachment.totalSize;
    }
    const auto content = table.Finish();
    subnodes.Add(format::nids::kAttachmentTable, content.data, content.sub);
    return size + content.dataSize + content.subnodeSize;
}

std::u16string ExtensionOf(std::u16string_view name)
{
    const auto dot = name.rfind(u'.');
    return dot == std::u16string_view::npos ? std::u16string() : std::u16string(name.substr(dot));
}

CPropertyBag AttachmentProperties(std::u16string_view name, std::uint32_t method, std::uint32_t number)
{
    CPropertyBag bag;
    bag.Set(Integer32Value(format::pid::kAttachMethod, method));
    bag.Set(Integer32Value(format::pid::kRenderingPosition, kNotRendered));
    bag.Set(Integer32Value(format::pid::kAttachNumber, number));
    bag.Set(StringValue(format::pid::kDisplayName, name));
    bag.Set(StringValue(format::pid::kAttachFilename, ShortFileName(name)));
    return bag;
}

CPropertyBag AttachmentRow(const CPropertyBag& bag)
{
    CPropertyBag row;
    for (const std::uint16_t id : {format::pid::kAttachSize, format::pid::kAttachFilename,
                                   format::pid::kAttachMethod, format::pid::kRenderingPosition})
        if (const auto* value = bag.Find(id))
            row.Set(*value);
    return row;
}

/// `below`: data bytes of the subnodes given.
Attachment WriteAttachment(CNdbWriter& writer, CPropertyBag& bag, CSubnodeTreeWriter& subnodes,
                           std::uint64_t below)
{
    bag.Set(Integer32Value(format::pid::kAttachSize, 0));
    bag.Set(Integer32Value(format::pid::kAttachSize, SizeValue(SizeOfValues(bag))));
    StoreLongValues(writer, bag);
    const auto content = WritePropertyContext(writer, bag, subnodes);
    return {writer.AllocateNid(format::NidType::Attachment), content.data, content.sub,
            content.dataSize + SizeOfTrees(bag) + below, AttachmentRow(bag)};
}

StoredTree CopyFile(CNdbWriter& writer, platform::IByteSource& source)
{
    CDataTreeWriter tree(writer);
    std::vector<std::byte> chunk(
        static_cast<std::size_t>(std::min<std::uint64_t>(source.Size(), kCopyBytes)));
    std::uint64_t offset = 0;
    while (offset < source.Size()) {
        const auto wanted = std::min<std::uint64_t>(source.Size() - offset, chunk.size());
        const auto into = std::span(chunk).first(static_cast<std::size_t>(wanted));
        const std::size_t got = source.ReadAt(offset, into);
        if (got == 0)
            throw CStoreError(Refusal::SourceFailed);
        tree.Append(into.first(got));
        offset += got;
    }
    return {tree.Finish(), offset};
}

std::uint64_t SizeBelow(INodeDatabase& database, format::Bid sub, unsigned depth)
{
    std::uint64_t size = 0;
    if (depth < kDeepestNesting)
        VisitSubnodes(database, sub, [&](const NodeRecord& node) {
            size += DataTreeSize(database, node.data) + SizeBelow(database, node.sub, depth + 1);
            return true;
        });
    return size;
}

bool IsShortNameChar(char16_t unit)
{
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'a' && unit <= u'z') || unit == u'-' || unit == u'_';
}

std::u16string ShortPart(std::u16string_view text)
{
    std::u16string part;
    for (const char16_t unit : text)
        if (IsShortNameChar(unit))
            part.push_back(unit);
    return part;
}

}  // namespace

std::u16string ShortFileName(std::u16string_view name)
{
    const auto dot = std::min(name.rfind(u'.'), name.size());
    const std::u16string base = ShortPart(name.substr(0, dot));
    const std::u16string extension = ShortPart(name.substr(dot)).substr(0, 3);
    const bool isWhole = base.size() == dot && !base.empty() && base.size() <= 8;
    std::u16string shortName = isWhole ? base : (base.empty() ? u"ATTACH" : base.substr(0, 6)) + u"~1";
    return extension.empty() ? shortName : shortName + u"." + extension;
}

WrittenMessage WriteMessage(CNdbWriter& writer, MessageDraft& draft)
{
    CPropertyBag& bag = draft.properties;
    StoreLongValues(writer, bag);
    CSubnodeTreeWriter subnodes;
    std::uint64_t below =
        AddRecipientTable(writer, subnodes) + AddAttachments(writer, draft.attachments, subnodes);
    below += SizeOfTrees(bag);

    const auto* stored = bag.Find(format::pid::kMessageFlags);
    std::uint32_t flags = stored ? AsInteger32(*stored).value_or(0) : 0;
    flags = draft.attachments.empty() ? flags & ~messageflag::kHasAttachments
                                      : flags | messageflag::kHasAttachments;
    bag.Set(Integer32Value(format::pid::kMessageFlags, flags));

    // The size stands in the context that it counts, but takes the same bytes whatever it is.
    bag.Set(Integer32Value(format::pid::kMessageSize, 0));
    std::uint64_t contextSize = ContextSize(bag);
    for (;;) {
        bag.Set(Integer32Value(format::pid::kMessageSize, SizeValue(contextSize + below)));
        CSubnodeTreeWriter all = subnodes;
        const auto content = WritePropertyContext(writer, bag, all);
        if (content.dataSize == contextSize)
            return {content, contextSize + below};
        contextSize = content.dataSize;
    }
}

Attachment WriteFileAttachment(CNdbWriter& writer, platform::IByteSource& source, std::u16string_view name,
                               std::uint32_t number)
{
    if (source.Size() > kLargestSize)
        throw CStoreError(Refusal::TooLarge);
    const format::PropertyTag dataTag{format::pid::kAttachDataBinary, PropertyType::Binary};
    CPropertyBag bag = AttachmentProperties(name, attachmethod::kByValue, number);
    bag.Set(StringValue(format::pid::kAttachLongFilename, name));
    if (const auto extension = ExtensionOf(name); !extension.empty())
        bag.Set(StringValue(pid::kAttachExtension, extension));
    if (source.Size() <= format::kLargestHeapItem) {
        std::vector<std::byte> bytes(static_cast<std::size_t>(source.Size()));
        if (source.ReadAt(0, bytes) != bytes.size())
            throw CStoreError(Refusal::SourceFailed);
        bag.Set({dataTag, std::move(bytes), std::nullopt});
    } else {
        bag.Set(TreeValue(dataTag, CopyFile(writer, source)));
    }
    CSubnodeTreeWriter subnodes;
    return WriteAttachment(writer, bag, subnodes, 0);
}

Attachment WriteEmbeddedMessage(CNdbWriter& writer, MessageDraft& message, std::u16string_view name,
                                std::uint32_t number)
{
    const auto written = WriteMessage(writer, message);
    const auto nid = writer.AllocateNid(format::NidType::NormalMessage);
    CSubnodeTreeWriter subnodes;
    subnodes.Add(nid, written.content.data, written.content.sub);
    CPropertyBag bag = AttachmentProperties(name, attachmethod::kEmbeddedMessage, number);
    bag.Set(ObjectValue(pid::kAttachDataObject, nid, SizeValue(written.size)));
    return WriteAttachment(writer, bag, subnodes, written.size);
}

MessageDraft ReadDraft(INodeDatabase& database, const NodeRecord& node)
{
    MessageDraft draft;
    draft.properties = CPropertyReader(database, node).ReadAll(format::kLargestHeapItem);
    VisitSubnodes(database, node.sub, [&](const NodeRecord& subnode) {
        if (subnode.nid.Type() != format::NidType::Attachment)
            return true;
        const auto properties = CPropertyReader(database, subnode).ReadAll(format::kLargestHeapItem);
        draft.attachments.push_back(
            {subnode.nid, subnode.data, subnode.sub,
             DataTreeSize(database, subnode.data) + SizeBelow(database, subnode.sub, 0),
             AttachmentRow(properties)});
        return true;
    });
    return draft;
}

}  // namespace pastille::component::pst
