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

/// A message that is being copied, and the attachment of it that is: a message in that comes next. Messages
/// may lie in one another a thousand deep, so the levels are kept here and not on the stack.
struct CMessageCopier::Level {
    std::unique_ptr<CFoundObject> own;  ///< of a message attached to another one
    CFoundObject& message;
    CFoundObject& holder;  ///< of the recipients and attachments: the message or its older version
    writer::CRef<writer::IWholeMessage> copy;
    CItemText text;
    OlderVersion older;
    std::vector<std::uint32_t> attachments{};  ///< node ids in their order
    std::size_t next = 0;
    std::unique_ptr<CFoundObject> attachment{};
    writer::CRef<writer::IWholeAttachment> attachmentCopy{};
    bool isWhole = true;  ///< so far, that attachment
};

CMessageCopier::CMessageCopier(store::complete::CSourceBlocks& blocks, CPropertyCopier& properties,
                               CCodePages& pages, CAccount& account)
    : m_blocks(blocks), m_properties(properties), m_pages(pages), m_account(account)
{
}

CMessageCopier::~CMessageCopier() = default;

Outcome CMessageCopier::Copy(CFoundObject& message, const OlderVersion& older,
                             const writer::CRef<writer::IWholeMessage>& target, const ItemPlace& place)
{
    m_place = &place;
    m_isPartial = false;
    m_leftOfMessage = m_mostOfMessage;
    m_within.clear();
    const bool isSaved = Guarded([&] {
        BeginMessage(nullptr, message, older, target);
        while (Step())
            continue;
        target->Save();
    });
    // The innermost first: each refers to the one around it.
    while (!m_levels.empty())
        m_levels.pop_back();
    if (!isSaved)
        return Outcome::Lost;
    return m_isPartial ? Outcome::Partial : Outcome::Whole;
}

/// All of a message but its attachments. `own` keeps the message where nothing else does.
void CMessageCopier::BeginMessage(std::unique_ptr<CFoundObject> own, CFoundObject& message,
                                  const OlderVersion& older, const writer::CRef<writer::IWholeMessage>& copy)
{
    const CItemText text(m_pages.PagesOf(message));
    CopyProperties(message, older, *copy, text);
    CFoundObject* holder = &message;
    if (message.Subnodes().Fault()) {
        CFoundObject* const before = older();
        if (before != nullptr && !before->Subnodes().Fault()) {
            holder = before;
            Lose(Loss::What::OlderVersion, {}, message.Subnodes().Fault());
        } else {
            LoseSubnodes(message);
        }
    }
    CopyRecipients(*holder, older, *copy, text);
    auto level = std::make_unique<Level>(Level{std::move(own), message, *holder, copy, text, older});
    level->attachments = AttachmentsInOrder(*holder, text);
    m_levels.push_back(std::move(level));
}

/// What a message had in a subnode tree that is gone, as its properties tell.
void CMessageCopier::LoseSubnodes(CFoundObject& message)
{
    using format::messageflag::kHasAttachments;
    const auto& fault = message.Subnodes().Fault();
    const bool hasAttachments =
        (message.Number(format::pid::kMessageFlags).value_or(kHasAttachments) & kHasAttachments) != 0;
    const bool hasRecipients = std::ranges::any_of(
        std::array{format::pid::kDisplayTo, format::pid::kDisplayCc, format::pid::kDisplayBcc},
        [&](std::uint16_t id) { return !message.Bytes(id).empty(); });
    if (hasRecipients || !hasAttachments)
        Lose(Loss::What::Recipients, {}, fault);
    if (hasAttachments)
        Lose(Loss::What::Attachments, {}, fault);
}

/// Copies the next attachment, or ends the innermost message. False when the outermost one has no more.
bool CMessageCopier::Step()
{
    Level& level = *m_levels.back();
    if (level.next < level.attachments.size()) {
        if (m_attachmentsLeft == 0 || m_leftOfMessage == 0) {
            Lose(Loss::What::Attachments, {}, SourceFault{Reason::Limit, 0, std::nullopt});
            level.next = level.attachments.size();
            return true;
        }
        --m_attachmentsLeft;
        --m_leftOfMessage;
        const std::uint32_t nid = level.attachments[level.next++];
        if (!Guarded([&] { BeginAttachment(level, nid); }))
            FailAttachment(level);
        return true;
    }
    if (m_levels.size() == 1)
        return false;
    const bool isSaved = Guarded([&] { level.copy->Save(); });
    m_levels.pop_back();
    Level& outer = *m_levels.back();
    if (isSaved)
        ++m_embedded;
    else
        Lose(Loss::What::Message, {}, std::nullopt);
    outer.isWhole = outer.isWhole && isSaved;
    if (!Guarded([&] { FinishAttachment(outer); }))
        FailAttachment(outer);
    return true;
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

/// Copies an attachment up to the message in it, when there is one; else all of it.
void CMessageCopier::BeginAttachment(Level& level, std::uint32_t nid)
{
    level.attachment = OpenAttachment(*level.holder.Subnodes().Find(nid), level.older);
    if (!level.attachment)
        return;
    CFoundObject& attachment = *level.attachment;
    level.attachmentCopy = level.copy->AddAttachment();
    level.isWhole = true;
    m_within.push_back(NameOf(attachment, level.text));
    m_properties.Copy(attachment, *level.attachmentCopy, level.text,
                      [&](PropertyTag tag, const std::optional<SourceFault>& fault, bool) {
                          const bool isContent = tag.id == kAttachData;
                          level.isWhole = level.isWhole && !isContent;
                          Lose(isContent ? Loss::What::Content : Loss::What::Property, {}, fault,
                               tag.Value());
                      });
    const auto* const data = attachment.Find(kAttachData);
    if (attachment.Fault()) {
        level.isWhole = level.isWhole && data != nullptr;  // it may be what is missing
        Lose(Loss::What::Properties, {}, attachment.Fault());
    }
    if (data != nullptr && data->tag.type == PropertyType::Object && CopyObject(level, *data))
        return;
    FinishAttachment(level);
}

void CMessageCopier::FinishAttachment(Level& level)
{
    for (std::size_t i = 0; !level.isWhole && i < kNameIds.size(); ++i) {
        if (const std::u16string name = TextOf(*level.attachment, kNameIds[i], level.text); !name.empty())
            level.attachmentCopy->SetProperty({kNameIds[i], PropertyType::String},
                                              StoredText(MarkedName(name)));
    }
    level.attachmentCopy->Save();
    ++m_attachments;
    EndAttachment(level);
}

void CMessageCopier::FailAttachment(Level& level)
{
    Lose(Loss::What::Attachment, {}, std::nullopt);
    EndAttachment(level);
}

/// The levels around have an open attachment each; this one has none any more.
void CMessageCopier::EndAttachment(Level& level)
{
    level.attachment.reset();
    level.attachmentCopy.Release();
    m_within.resize(m_levels.size() - 1);
}

/// What an attachment's object is, its subnode tells: a message, or the bytes of a storage. True when a
/// message has been begun.
bool CMessageCopier::CopyObject(Level& level, const format::PropertyContextRecord& record)
{
    CFoundObject& attachment = *level.attachment;
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
        level.isWhole = false;
        return false;
    }
    if (format::Nid{node->nid}.Type() == NidType::NormalMessage)
        return BeginEmbedded(level, *node);
    CNodeData data(m_blocks, node->reference.bidData, node->reference.isAtHome);
    CNodeStream blocks(data);
    CAllowedStream stream(blocks, m_properties.Allowance());
    level.attachmentCopy->SetObject(stream);
    level.isWhole = level.isWhole && !data.Fault() && !stream.IsCut();
    if (data.Fault() || stream.IsCut())
        Lose(Loss::What::Content, {}, data.Fault());
    return false;
}

bool CMessageCopier::BeginEmbedded(Level& level, const Subnode& subnode)
{
    const std::uint64_t bid = subnode.reference.bidData;
    const bool isInItself = std::ranges::any_of(
        m_levels, [bid](const auto& outer) { return outer->message.Heap().Reference().bidData == bid; });
    auto message = std::make_unique<CFoundObject>(m_blocks, subnode.reference);
    level.isWhole = false;
    if (isInItself || m_levels.size() > kDeepest) {
        Lose(Loss::What::Message, {}, SourceFault{Reason::Limit, bid, std::nullopt});
        return false;
    }
    if (!message->Open()) {
        Lose(Loss::What::Message, {}, message->Fault());
        return false;
    }
    level.isWhole = true;
    CFoundObject& opened = *message;
    BeginMessage(
        std::move(message), opened, [] { return nullptr; }, level.attachmentCopy->AddMessage());
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
