#include "component/pst/messaging/Message.h"

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableTemplates.h"
#include "component/pst/ltp/TableWriter.h"
#include "component/pst/messaging/Attachment.h"
#include "component/pst/messaging/LongValues.h"
#include "component/pst/messaging/MessagingIds.h"
#include "format/Heap.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

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

/// The bytes of a recipient table without rows, which are the same in every message. Each has its own copy.
const std::vector<std::byte>& EmptyRecipientTable(CNdbWriter& writer)
{
    static const std::vector<std::byte> bytes = [&writer] {
        const auto table = CTableWriter(writer, tabletemplate::kRecipientTableColumns).Finish();
        return *writer.ReadBlock(table.data);
    }();
    return bytes;
}

std::uint64_t AddRecipientTable(CNdbWriter& writer, const CRecipients& recipients,
                                CSubnodeTreeWriter& subnodes)
{
    if (!recipients.IsEmpty()) {
        const auto content = WriteRecipients(writer, recipients);
        subnodes.Add(format::nids::kRecipientTable, content.data, content.sub);
        return content.dataSize + content.subnodeSize;
    }
    const std::vector<std::byte>& table = EmptyRecipientTable(writer);
    subnodes.Add(format::nids::kRecipientTable, writer.AddDataBlock(table));
    return table.size();
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

}  // namespace

WrittenMessage WriteMessage(CNdbWriter& writer, MessageDraft& draft)
{
    CPropertyBag& bag = draft.properties;
    StoreLongValues(writer, bag);
    CSubnodeTreeWriter subnodes;
    std::uint64_t below = AddRecipientTable(writer, draft.recipients, subnodes) +
                          AddAttachments(writer, draft.attachments, subnodes);
    below += SizeOfTrees(bag);

    const auto* stored = bag.Find(format::pid::kMessageFlags);
    std::uint32_t flags = stored ? AsInteger32(*stored).value_or(0) : 0;
    flags = draft.attachments.empty() ? flags & ~format::messageflag::kHasAttachments
                                      : flags | format::messageflag::kHasAttachments;
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

MessageDraft ReadDraft(INodeDatabase& database, const NodeRecord& node)
{
    MessageDraft draft;
    draft.properties = CPropertyReader(database, node).ReadAll(format::kLargestHeapItem);
    VisitSubnodes(database, node.sub, [&](const NodeRecord& subnode) {
        if (subnode.nid.Type() == format::NidType::Attachment)
            draft.attachments.push_back(ReadAttachment(database, subnode));
        else if (subnode.nid == format::nids::kRecipientTable)
            draft.recipients = ReadRecipients(database, subnode);
        return true;
    });
    return draft;
}

}  // namespace pastille::component::pst
