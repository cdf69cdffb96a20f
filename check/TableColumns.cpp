#include "check/TableColumns.h"

#include <array>
#include <span>

#include "check/MessagingRules.h"

namespace pastille::check {
namespace {

using Tags = std::span<const std::uint32_t>;

/// Of one kind of table; row id and row version aside, which every table has.
struct Columns {
    Tags least;
    Tags inTemplate;  ///< every template of a PST has them too
    Tags lately;      ///< templates of older programs lack some of them
};

// Hierarchy table.
constexpr std::array<std::uint32_t, 4> kHierarchyLeast = {
    0x3001001F,  // PidTagDisplayName
    0x36020003,  // PidTagContentCount
    0x36030003,  // PidTagContentUnreadCount
    0x360A000B,  // PidTagSubfolders
};
constexpr std::array<std::uint32_t, 7> kHierarchyTemplate = {
    0x0E300102,  // PidTagReplItemid
    0x0E330014,  // PidTagReplChangenum
    0x0E340102,  // PidTagReplVersionHistory
    0x0E380003,  // PidTagReplFlags
    0x3613001F,  // PidTagContainerClass
    0x66350003,  // PidTagPstHiddenCount
    0x66360003,  // PidTagPstHiddenUnread
};

// Contents table.
constexpr std::array<std::uint32_t, 14> kContentsLeast = {
    0x00170003,  // PidTagImportance
    0x001A001F,  // PidTagMessageClass
    0x00360003,  // PidTagSensitivity
    0x0037001F,  // PidTagSubject
    0x00390040,  // PidTagClientSubmitTime
    0x0042001F,  // PidTagSentRepresentingName
    0x0057000B,  // PidTagMessageToMe
    0x0058000B,  // PidTagMessageCcMe
    0x0E03001F,  // PidTagDisplayCc
    0x0E04001F,  // PidTagDisplayTo
    0x0E060040,  // PidTagMessageDeliveryTime
    0x0E070003,  // PidTagMessageFlags
    0x0E080003,  // PidTagMessageSize
    0x0E170003,  // PidTagMessageStatus
};
constexpr std::array<std::uint32_t, 12> kContentsLately = {
    0x0070001F,  // PidTagConversationTopic
    0x00710102,  // PidTagConversationIndex
    0x0E300102,  // PidTagReplItemid
    0x0E330014,  // PidTagReplChangenum
    0x0E340102,  // PidTagReplVersionHistory
    0x0E380003,  // PidTagReplFlags
    0x0E3C0102,  // PidTagReplCopiedfromVersionhistory
    0x0E3D0102,  // PidTagReplCopiedfromItemid
    0x10970003,  // PidTagItemTemporaryFlags
    0x30080040,  // PidTagLastModificationTime
    0x30130102,  // PidTagConversationId
    0x65C60003,  // PidTagSecureSubmitFlags
};

// Table of associated messages.
constexpr std::array<std::uint32_t, 4> kAssociatedLeast = {
    0x001A001F,  // PidTagMessageClass
    0x0E070003,  // PidTagMessageFlags
    0x0E170003,  // PidTagMessageStatus
    0x3001001F,  // PidTagDisplayName
};
constexpr std::array<std::uint32_t, 9> kAssociatedTemplate = {
    0x6800001F,  // PidTagOfflineAddressBookName
    0x6803000B,  // PidTagSendOutlookRecallReport
    0x68051003,  // PidTagOfflineAddressBookTruncatedProperties
    0x682F001F,  // PidTagMapiFormComposeCommand
    0x70030003,  // PidTagViewDescriptorFlags
    0x70040102,  // PidTagViewDescriptorLinkTo
    0x70050102,  // PidTagViewDescriptorViewFolder
    0x7006001F,  // PidTagViewDescriptorName
    0x70070003,  // PidTagViewDescriptorVersion
};

// Contents table of a search folder.
constexpr std::array<std::uint32_t, 4> kSearchLeast = {
    0x001A001F,  // PidTagMessageClass
    0x0037001F,  // PidTagSubject
    0x0E070003,  // PidTagMessageFlags
    0x67F10003,  // PidTagLtpParentNid
};
constexpr std::array<std::uint32_t, 13> kSearchTemplate = {
    0x00170003,  // PidTagImportance
    0x00360003,  // PidTagSensitivity
    0x0042001F,  // PidTagSentRepresentingName
    0x0057000B,  // PidTagMessageToMe
    0x0058000B,  // PidTagMessageCcMe
    0x0E03001F,  // PidTagDisplayCc
    0x0E04001F,  // PidTagDisplayTo
    0x0E05001F,  // PidTagParentDisplay
    0x0E060040,  // PidTagMessageDeliveryTime
    0x0E080003,  // PidTagMessageSize
    0x0E170003,  // PidTagMessageStatus
    0x0E2A000B,  // PidTagExchangeRemoteHeader
    0x30080040,  // PidTagLastModificationTime
};

constexpr std::array<std::uint32_t, 2> kReceiveFolder = {
    0x001A001F,  // PidTagMessageClass
    0x66050003,  // NID of the folder
};
constexpr std::array<std::uint32_t, 3> kOutgoingQueue = {
    0x00390040,  // PidTagClientSubmitTime
    0x0E100003,  // spooler status
    0x0E140003,  // PidTagSubmitFlags
};
constexpr std::array<std::uint32_t, 3> kAttachments = {
    0x0E200003,  // PidTagAttachSize
    0x37050003,  // PidTagAttachMethod
    0x370B0003,  // PidTagRenderingPosition
};
constexpr std::array<std::uint32_t, 1> kAttachmentsTemplate = {
    0x3704001F,  // PidTagAttachFilename
};
constexpr std::array<std::uint32_t, 5> kRecipientsLeast = {
    0x0C150003,  // PidTagRecipientType
    0x0FFF0102,  // PidTagEntryId
    0x3001001F,  // PidTagDisplayName
    0x3002001F,  // PidTagAddressType
    0x3003001F,  // PidTagEmailAddress
};
constexpr std::array<std::uint32_t, 7> kRecipientsTemplate = {
    0x0E0F000B,  // PidTagResponsibility
    0x0FF90102,  // PidTagRecordKey
    0x0FFE0003,  // PidTagObjectType
    0x300B0102,  // PidTagSearchKey
    0x39000003,  // PidTagDisplayType
    0x39FF001F,  // PidTag7BitDisplayName
    0x3A40000B,  // PidTagSendRichInfo
};
constexpr std::array<std::uint32_t, 3> kChanges = {0x0E330014, 0x0E370102, 0x0E380003};
constexpr std::array<std::uint32_t, 7> kReplication = {0x001A001F, 0x0E300102, 0x0E310102, 0x0E330014,
                                                       0x0E340102, 0x0E380003, 0x0E3E0102};
constexpr std::array<std::uint32_t, 2> kReplicationTimes = {0x0E330014, 0x30070040};

Columns ColumnsOf(TableKind kind)
{
    switch (kind) {
        case TableKind::Hierarchy:
            return {kHierarchyLeast, kHierarchyTemplate, {}};
        case TableKind::Contents:
            return {kContentsLeast, {}, kContentsLately};
        case TableKind::AssociatedContents:
            return {kAssociatedLeast, kAssociatedTemplate, {}};
        case TableKind::SearchContents:
            return {kSearchLeast, kSearchTemplate, {}};
        case TableKind::ReceiveFolder:
            return {kReceiveFolder, {}, {}};
        case TableKind::OutgoingQueue:
            return {{}, kOutgoingQueue, {}};
        case TableKind::Attachments:
            return {kAttachments, kAttachmentsTemplate, {}};
        case TableKind::Recipients:
            return {kRecipientsLeast, kRecipientsTemplate, {}};
        case TableKind::Changes:
            return {{}, {}, kChanges};
        case TableKind::Replication:
            return {{}, {}, kReplication};
        case TableKind::ReplicationTimes:
            break;
    }
    return {{}, {}, kReplicationTimes};
}

/// Strings of 8 bits stand for Unicode ones in ANSI stores.
bool HasColumn(const format::TableInfo& info, format::PropertyTag tag)
{
    if (info.Find(tag) != nullptr)
        return true;
    return tag.type == format::PropertyType::String &&
           info.Find({tag.id, format::PropertyType::String8}) != nullptr;
}

/// Notes the first tag that is no column. Returns whether there was one.
bool NoteMissing(CTable& table, Tags tags, const Rule& rule)
{
    for (const std::uint32_t tag : tags) {
        if (HasColumn(table.Info(), format::PropertyTag::FromValue(tag)))
            continue;
        table.Node().Note(rule, "column " + Hex(tag));
        return true;
    }
    return false;
}

}  // namespace

void CheckColumns(CTable& table, TableKind kind, ColumnDemand demand)
{
    const Columns columns = ColumnsOf(kind);
    if (NoteMissing(table, columns.least, rules::kTableColumn) || demand == ColumnDemand::Least)
        return;
    const bool isWide = table.Node().Run().Layout().wide;
    if (NoteMissing(table, columns.inTemplate, isWide ? rules::kTableColumn : rules::kTableColumnLately))
        return;
    NoteMissing(table, columns.lately, rules::kTableColumnLately);
}

}  // namespace pastille::check
