#include "recovery/AttachmentReader.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "format/PropertyTag.h"

namespace pastille::recovery {
namespace {

using namespace writer;

constexpr std::uint32_t kAttachmentTable = 0x671;
constexpr std::uint32_t kNidTypeMask = 0x1F;
/// Most bytes of one attachment. [MS-OXCMSG] 2.2.2.5
constexpr std::uint64_t kLargestAttachment = std::numeric_limits<std::int32_t>::max();

/// Bytes that are in memory already.
class CViewStream final : public platform::IByteStream {
public:
    explicit CViewStream(format::CByteView view) : m_left(view.Bytes()) {}
    std::size_t Read(std::span<std::byte> into) override
    {
        const std::size_t count = std::min(into.size(), m_left.size());
        std::copy_n(m_left.begin(), count, into.begin());
        m_left = m_left.subspan(count);
        return count;
    }

private:
    std::span<const std::byte> m_left;
};

bool IsObject(const store::PropertyRecord& record)
{
    return record.type == static_cast<std::uint16_t>(format::PropertyType::Object);
}

bool IsHeapId(std::uint32_t hnid)
{
    return (hnid & kNidTypeMask) == 0;
}

}  // namespace

void CAttachmentReader::Read(CWorkList& work, std::size_t index,
                             const std::vector<store::SubnodeEntry>& subnodes)
{
    if (subnodes.empty() || subnodes.front().nid != kAttachmentTable)
        return;
    m_attachment.AllowTexts(m_source.file.Size());
    for (const store::SubnodeEntry& entry : subnodes) {
        if (!work.SpendSubnode())
            return;
        if (entry.bidData != 0)
            ReadOne(work, index, entry);
    }
}

void CAttachmentReader::ReadOne(CWorkList& work, std::size_t index, const store::SubnodeEntry& entry)
{
    if (!m_attachment.Open(entry.bidData, entry.bidSub))
        return;
    const AttachmentProperties properties = ReadAttachmentProperties(m_attachment);
    if (properties.IsEmbedded()) {
        if (QueueMessages(work, index, properties))
            return;
        if (!MayBeFile(properties))
            return;
    }
    AddFile(work, index, entry, properties);
}

/// What was taken for an attached message, with none behind it, is a file when it has the name of one, or
/// bytes, or says that it is something else.
bool CAttachmentReader::MayBeFile(const AttachmentProperties& properties) const
{
    return !properties.fileName.empty() || HeapBytes(properties) ||
           (properties.method && !properties.SaysEmbedded());
}

/// Returns false when there is no message behind the attachment.
bool CAttachmentReader::QueueMessages(CWorkList& work, std::size_t index,
                                      const AttachmentProperties& properties)
{
    const std::u16string name = properties.displayName.empty() ? properties.fileName : properties.displayName;
    bool found = false;
    bool queued = false;
    for (const store::SubnodeEntry& entry : m_attachment.Subnodes()) {
        if (!work.SpendSubnode())
            break;
        if (entry.bidData == 0)
            continue;
        if (!work.Enter(index, entry.bidData)) {
            found = true;  // a message that was met before
        } else if (m_probe.Open(entry.bidData, entry.bidSub)) {
            found = queued = true;
            work.Add(index, entry.bidData, entry.bidSub, name);
        }
    }
    if (!queued)
        return found;
    if (work[index].IsMail())
        work[index].item->SetFlag(property::Sent, 1);
    if (!name.empty())
        m_recovery.log.Write(u"\r\nAttached Embedded Message: " + LogName(name));
    return true;
}

void CAttachmentReader::AddFile(CWorkList& work, std::size_t index, const store::SubnodeEntry& entry,
                                const AttachmentProperties& properties)
{
    if (properties.FileName().empty())
        return;
    if (const auto bytes = HeapBytes(properties)) {
        if (!work.SpendBytes(bytes->Size()))
            return;
        CViewStream stream(*bytes);
        Attach(work[index], stream, properties);
        return;
    }
    store::CDataBlocks blocks(m_source.reader, DataBlocks(entry, properties));
    const auto found = blocks.LookUp();
    if (found.blocks == 0 || found.bytes > kLargestAttachment ||
        !work.SpendBytes(std::min(found.bytes, m_source.file.Size())))
        return;
    store::CDataStream stream(std::move(blocks));
    Attach(work[index], stream, properties);
}

/// An empty value counts as bytes, one that lies elsewhere does not.
std::optional<format::CByteView> CAttachmentReader::HeapBytes(const AttachmentProperties& properties) const
{
    if (!properties.data || IsObject(*properties.data))
        return std::nullopt;
    return m_attachment.Allocation(properties.data->value);
}

std::vector<std::uint32_t> CAttachmentReader::DataBlocks(const store::SubnodeEntry& entry,
                                                         const AttachmentProperties& properties)
{
    // An attachment by reference has no bytes; what its subnodes hold is something else.
    const bool isReference = !properties.data && properties.method && !properties.IsByValue();
    if (entry.bidSub == 0 || isReference)
        return {};
    std::uint32_t nid = 0;
    if (properties.data && IsObject(*properties.data)) {
        const auto object = m_attachment.Allocation(properties.data->value);
        nid = object ? object->ReadOrZero<std::uint32_t>(0) : 0;  // {NID, size}. [MS-PST] 2.3.3.5
    } else if (properties.data) {
        nid = properties.data->value;
        if (IsHeapId(nid))
            return {};  // in a part of the heap that is not read: no subnode has these bytes
    }
    const auto& subnodes = m_attachment.Subnodes();
    if (subnodes.empty())
        return store::LoadDataTree(m_source.reader, entry.bidSub);
    const auto named = std::ranges::find(subnodes, nid, &store::SubnodeEntry::nid);
    return store::LoadDataTree(m_source.reader,
                               (named == subnodes.end() ? subnodes.front() : *named).bidData);
}

void CAttachmentReader::Attach(WorkItem& item, platform::IByteStream& bytes,
                               const AttachmentProperties& properties)
{
    const std::u16string fileName = properties.FileName();
    const bool isContact = item.item && item.family == ItemFamily::Contact;
    // Before the log line: what nothing carries is not told of.
    const CRef<IMessageItem> carrier = isContact ? item.item : Carrier(item);
    m_recovery.log.Write(u"\r\nAttachment File Name: " + LogName(fileName));
    if (isContact) {
        QueryInterface<IContactItem>(carrier)->AddPicture(bytes, fileName);
        item.hasNewPicture = !item.IsEmbedded();
    } else {
        carrier->GetAttachments()->AddAttachment(bytes, fileName,
                                                 properties.name.empty() ? fileName : properties.name);
    }
    ++m_recovery.figures.attachments;
}

const CRef<IMessageItem>& CAttachmentReader::Carrier(WorkItem& item)
{
    if (item.IsMail())
        return item.item;
    if (!item.placeholder)
        item.placeholder =
            item.IsEmbedded() ? m_placement.CreateEmbeddedPlaceholder() : m_placement.CreatePlaceholder();
    return item.placeholder;
}

void CAttachmentReader::AttachMessage(CWorkList& work, std::size_t index, const CRef<IMessageItem>& message)
{
    const WorkItem& child = work[index];
    const CRef<IMessageItem>& carrier = Carrier(work[child.parent]);
    const std::u16string name =
        child.attachmentName.empty() ? message->GetText(property::Subject) : child.attachmentName;
    carrier->GetAttachments()->AddAttachment(CRef<IStoreItem>(message), name);
    message->Save();
    ++m_recovery.figures.embeddedMessages;
}

}  // namespace pastille::recovery
