#include "recovery/complete/MessageCopier.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_set>
#include <utility>

#include "format/Ids.h"
#include "format/PropertyIds.h"
#include "recovery/Guarded.h"
#include "recovery/Texts.h"
#include "recovery/complete/FoundText.h"

namespace pastille::recovery::complete {
namespace {

using format::NidType;
using format::PropertyTag;
using format::PropertyType;
using store::complete::CFoundObject;
using store::complete::CFoundTable;
using store::complete::CNodeData;
using store::complete::CNodeStream;
using store::complete::FoundRow;
using store::complete::SourceFault;
using store::complete::Subnode;
using Reason = SourceFault::Reason;

constexpr std::uint16_t kAttachData = format::pid::kAttachDataBinary;
/// Where an attachment's name stands. [MS-OXCMSG] 2.2.2
constexpr std::array kNameIds{format::pid::kAttachLongFilename, format::pid::kAttachFilename,
                              format::pid::kDisplayName};
/// Of a message whose own is lost.
constexpr std::u16string_view kMailClass = u"IPM.Note";
constexpr std::u16string_view kIncompleteMark = u" (incomplete)";

/// The name with the mark before its extension.
std::u16string MarkedName(const std::u16string& name)
{
    constexpr std::size_t kLongestExtension = 8;
    const std::size_t dot = name.rfind(u'.');
    const bool hasExtension = dot != std::u16string::npos && name.size() - dot <= kLongestExtension;
    std::u16string marked = name;
    return marked.insert(hasExtension ? dot : name.size(), kIncompleteMark);
}

std::u16string NameOf(CFoundObject& attachment, const CItemText& text)
{
    for (const std::uint16_t id : kNameIds) {
        if (std::u16string name = TextOf(attachment, id, text); !name.empty())
            return name;
    }
    return {};
}

/// A subnode that a message has once, by its usual id, else the first of its kind.
const Subnode* TableNode(CFoundObject& message, format::Nid usual)
{
    if (const Subnode* const subnode = message.Subnodes().Find(usual.value))
        return subnode;
    for (const Subnode& subnode : message.Subnodes().All()) {
        if (format::Nid{subnode.nid}.Type() == usual.Type())
            return &subnode;
    }
    return nullptr;
}

}  // namespace

Outcome CMessageCopier::Copy(CFoundObject& message, const OlderVersion& older,
                             const writer::CRef<writer::IWholeMessage>& target, const ItemPlace& place)
{
    m_place = &place;
    m_isPartial = false;
    m_leftOfMessage = m_mostOfMessage;
    m_open.clear();
    m_within.clear();
    const bool isSaved = Guarded([&] {
        CopyContents(message, older, *target);
        target->Save();
    });
    if (!isSaved)
        return Outcome::Lost;
    return m_isPartial ? Outcome::Partial : Outcome::Whole;
}

void CMessageCopier::CopyContents(CFoundObject& message, const OlderVersion& older,
                                  writer::IWholeMessage& target)
{
    m_open.push_back(message.Heap().Reference().bidData);
    const CItemText text(m_pages.PagesOf(message));
    CopyProperties(message, older, target, text);
    CFoundObject* holder = &message;
    if (const auto& fault = message.Subnodes().Fault()) {
        CFoundObject* const before = older();
        const bool isReplaced = before != nullptr && !before->Subnodes().Fault();
        if (isReplaced)
            holder = before;
        Lose(isReplaced ? Loss::What::OlderVersion : Loss::What::Attachments, {}, fault);
    }
    CopyRecipients(*holder, older, target, text);
    CopyAttachments(*holder, older, target, text);
    m_open.pop_back();
}

/// What cannot be read of the message comes from its older version, and is told.
void CMessageCopier::CopyProperties(CFoundObject& message, const OlderVersion& older,
                                    writer::IWholeMessage& target, const CItemText& text)
{
    std::unordered_set<std::uint16_t> lostIds;
    m_properties.Copy(message, target, text,
                      [&](PropertyTag tag, const std::optional<SourceFault>& fault, bool isPart) {
                          if (!isPart)
                              lostIds.insert(tag.id);
                          Lose(Loss::What::Property, {}, fault, tag.Value());
                      });
    if (!message.Records().empty() && message.Find(format::pid::kMessageClass) == nullptr)
        target.SetProperty({format::pid::kMessageClass, PropertyType::String}, StoredText(kMailClass));
    if (message.Fault() || message.Records().empty())
        Lose(Loss::What::Properties, {}, message.Fault());
    CFoundObject* const before = lostIds.empty() && !message.Fault() ? nullptr : older();
    if (before == nullptr)
        return;
    for (const format::PropertyContextRecord& record : before->Records()) {
        const bool isWanted =
            lostIds.contains(record.tag.id) || (message.Fault() && message.Find(record.tag.id) == nullptr);
        if (!isWanted || record.tag.type == PropertyType::Object)
            continue;
        auto value = before->Value(record);
        if (m_properties.CopyValue(record.tag, value, target, text, [](PropertyTag, const auto&, bool) {}))
            Lose(Loss::What::OlderVersion, {}, std::nullopt, record.tag.Value());
    }
}

void CMessageCopier::CopyRecipients(CFoundObject& message, const OlderVersion& older,
                                    writer::IWholeMessage& target, const CItemText& text)
{
    const Subnode* const node = TableNode(message, format::nids::kRecipientTable);
    if (node == nullptr)
        return;
    CFoundTable table(m_blocks, node->reference);
    if (table.Open()) {
        CopyRows(table, target, text);
        return;
    }
    CFoundObject* const before = older();
    const Subnode* const prior =
        before == nullptr ? nullptr : TableNode(*before, format::nids::kRecipientTable);
    CFoundTable priorTable(m_blocks, prior == nullptr ? store::complete::NodeReference() : prior->reference);
    const bool isReplaced = prior != nullptr && priorTable.Open();
    Lose(isReplaced ? Loss::What::OlderVersion : Loss::What::Recipients, {}, table.Fault());
    if (isReplaced)
        CopyRows(priorTable, target, text);
}

void CMessageCopier::CopyRows(CFoundTable& recipients, writer::IWholeMessage& target, const CItemText& text)
{
    std::size_t rows = 0;
    recipients.ForEachRow([&](const FoundRow& row) {
        const auto lose = [&](PropertyTag tag, const std::optional<SourceFault>& fault, bool) {
            Lose(Loss::What::Recipients, {}, fault, tag.Value());
        };
        rows += Guarded([&] { m_properties.CopyRow(recipients, row, *target.AddRecipient(), text, lose); });
        return true;
    });
    if (recipients.Fault() || rows < recipients.IndexedRows().value_or(0))
        Lose(Loss::What::Recipients, {}, recipients.Fault());
}

/// In the order of the attachment table; then those that it does not have.
std::vector<std::uint32_t> CMessageCopier::AttachmentsInOrder(CFoundObject& message, const CItemText& text)
{
    std::vector<std::uint32_t> order;
    std::unordered_set<std::uint32_t> known;
    if (const Subnode* const node = TableNode(message, format::nids::kAttachmentTable)) {
        CFoundTable table(m_blocks, node->reference);
        if (table.Open()) {
            table.ForEachRow([&](const FoundRow& row) {
                const bool isNode = message.Subnodes().Find(row.id) != nullptr;
                if (isNode && known.insert(row.id).second)
                    order.push_back(row.id);
                else if (!isNode)
                    Lose(Loss::What::Attachment, TextOf(table, row, format::pid::kAttachFilename, text),
                         message.Subnodes().Fault());
                return true;
            });
        }
        if (table.Fault() && message.Subnodes().Fault())
            Lose(Loss::What::Attachments, {}, table.Fault());
    }
    for (const Subnode& subnode : message.Subnodes().All()) {
        if (format::Nid{subnode.nid}.Type() == NidType::Attachment && known.insert(subnode.nid).second)
            order.push_back(subnode.nid);
    }
    return order;
}

void CMessageCopier::CopyAttachments(CFoundObject& message, const OlderVersion& older,
                                     writer::IWholeMessage& target, const CItemText& text)
{
    for (const std::uint32_t nid : AttachmentsInOrder(message, text)) {
        if (m_attachmentsLeft == 0 || m_leftOfMessage == 0) {
            Lose(Loss::What::Attachments, {}, SourceFault{Reason::Limit, 0, std::nullopt});
            return;
        }
        --m_attachmentsLeft;
        --m_leftOfMessage;
        // A message within a message within a message: no more than a pointer of each stays on the stack.
        const auto subnode = std::make_unique<Subnode>(*message.Subnodes().Find(nid));
        const std::size_t open = m_open.size(), within = m_within.size();
        if (!Guarded([&] { CopyAttachment(*subnode, older, target, text); })) {
            Lose(Loss::What::Attachment, {}, std::nullopt);
            m_open.resize(open);
            m_within.resize(within);
        }
    }
}

/// An attachment of which nothing can be read comes from the message's older version; nullptr when that has
/// it neither.
std::unique_ptr<CFoundObject> CMessageCopier::OpenAttachment(const Subnode& subnode,
                                                             const OlderVersion& older)
{
    auto attachment = std::make_unique<CFoundObject>(m_blocks, subnode.reference);
    if (attachment->Open())
        return attachment;
    const auto fault = attachment->Fault();
    CFoundObject* const before = older();
    const Subnode* const prior = before == nullptr ? nullptr : before->Subnodes().Find(subnode.nid);
    attachment.reset();
    if (prior != nullptr)
        attachment = std::make_unique<CFoundObject>(m_blocks, prior->reference);
    if (attachment && !attachment->Open())
        attachment.reset();
    Lose(attachment ? Loss::What::OlderVersion : Loss::What::Attachment, {}, fault);
    return attachment;
}

void CMessageCopier::CopyAttachment(const Subnode& subnode, const OlderVersion& older,
                                    writer::IWholeMessage& target, const CItemText& text)
{
    const auto attachment = OpenAttachment(subnode, older);
    if (!attachment)
        return;
    const auto copy = target.AddAttachment();
    m_within.push_back(NameOf(*attachment, text));
    bool isWhole = true;
    m_properties.Copy(
        *attachment, *copy, text, [&](PropertyTag tag, const std::optional<SourceFault>& fault, bool) {
            const bool isContent = tag.id == kAttachData;
            isWhole = isWhole && !isContent;
            Lose(isContent ? Loss::What::Content : Loss::What::Property, {}, fault, tag.Value());
        });
    const auto* const data = attachment->Find(kAttachData);
    if (attachment->Fault()) {
        isWhole = isWhole && data != nullptr;  // it may be what is missing
        Lose(Loss::What::Properties, {}, attachment->Fault());
    }
    if (data != nullptr && data->tag.type == PropertyType::Object)
        isWhole = CopyObject(*attachment, *data, *copy);
    for (std::size_t i = 0; !isWhole && i < kNameIds.size(); ++i) {
        if (const std::u16string name = TextOf(*attachment, kNameIds[i], text); !name.empty())
            copy->SetProperty({kNameIds[i], PropertyType::String}, StoredText(MarkedName(name)));
    }
    copy->Save();
    ++m_attachments;
    m_within.pop_back();
}

/// What an attachment's object is, its subnode tells: a message, or the bytes of a storage. False when not
/// all of it came.
bool CMessageCopier::CopyObject(CFoundObject& attachment, const format::PropertyContextRecord& record,
                                writer::IWholeAttachment& target)
{
    const auto value = attachment.Value(record);
    const std::uint32_t nid =
        value.bytes.size() >= 4 ? format::LoadLE<std::uint32_t>(value.bytes, 0) : record.valueOrHnid;
    const Subnode* node = attachment.Subnodes().Find(nid);
    for (const Subnode& subnode : attachment.Subnodes().All()) {
        if (node == nullptr && format::Nid{subnode.nid}.Type() == NidType::NormalMessage)
            node = &subnode;
    }
    if (node == nullptr) {
        Lose(Loss::What::Content, {},
             attachment.Subnodes().Fault() ? attachment.Subnodes().Fault() : value.fault);
        return false;
    }
    if (format::Nid{node->nid}.Type() == NidType::NormalMessage)
        return CopyEmbedded(*node, target);
    CNodeData data(m_blocks, node->reference.bidData, node->reference.isAtHome);
    CNodeStream blocks(data);
    CAllowedStream stream(blocks, m_properties.Allowance());
    target.SetObject(stream);
    const bool isWhole = !data.Fault() && !stream.IsCut();
    if (!isWhole)
        Lose(Loss::What::Content, {}, data.Fault());
    return isWhole;
}

bool CMessageCopier::CopyEmbedded(const Subnode& subnode, writer::IWholeAttachment& target)
{
    const bool isInItself = std::ranges::find(m_open, subnode.reference.bidData) != m_open.end();
    const auto message = std::make_unique<CFoundObject>(m_blocks, subnode.reference);
    if (isInItself || m_open.size() > kDeepest) {
        Lose(Loss::What::Message, {}, SourceFault{Reason::Limit, subnode.reference.bidData, std::nullopt});
        return false;
    }
    if (!message->Open()) {
        Lose(Loss::What::Message, {}, message->Fault());
        return false;
    }
    const auto copy = target.AddMessage();
    CopyContents(
        *message, [] { return nullptr; }, *copy);
    copy->Save();
    ++m_embedded;
    return true;
}

void CMessageCopier::Lose(Loss::What what, std::u16string name, const std::optional<SourceFault>& fault,
                          std::optional<std::uint32_t> tag)
{
    m_isPartial = true;
    if (name.empty() && !m_within.empty())
        name = m_within.back();
    m_account.Add({what, m_place->folder, m_place->item, tag, std::move(name), fault});
}

}  // namespace pastille::recovery::complete
