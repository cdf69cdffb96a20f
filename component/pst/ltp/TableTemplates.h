#pragma once

#include <array>
#include <cstdint>

#include "format/PropertyTag.h"
#include "format/TableContext.h"

namespace pastille::component::pst {

/// The columns of the template tables as stores of today carry them: tag, ibData, cbData, iBit, sorted by
/// tag. New tables start with the columns of their template. [MS-PST] 2.4.4 to 2.4.6, 2.7.3
namespace tabletemplate {

constexpr format::TableColumn Column(std::uint32_t tag, std::uint16_t offset, std::uint8_t size,
                                     std::uint8_t bit)
{
    return {format::PropertyTag::FromValue(tag), offset, size, bit};
}

/// Hierarchy table of a folder: one row per sub-folder.
inline constexpr std::array<format::TableColumn, 13> kHierarchyTableColumns = {{
    Column(0x0E300102, 20, 4, 6),   // PidTagReplItemid
    Column(0x0E330014, 24, 8, 7),   // PidTagReplChangenum
    Column(0x0E340102, 32, 4, 8),   // PidTagReplVersionHistory
    Column(0x0E380003, 36, 4, 9),   // PidTagReplFlags
    Column(0x3001001F, 8, 4, 2),    // PidTagDisplayName
    Column(0x36020003, 12, 4, 3),   // PidTagContentCount
    Column(0x36030003, 16, 4, 4),   // PidTagContentUnreadCount
    Column(0x360A000B, 52, 1, 5),   // PidTagSubfolders
    Column(0x3613001F, 40, 4, 10),  // PidTagContainerClass
    Column(0x66350003, 44, 4, 11),  // PidTagPstHiddenCount
    Column(0x66360003, 48, 4, 12),  // PidTagPstHiddenUnread
    Column(0x67F20003, 0, 4, 0),    // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),    // PidTagLtpRowVer
}};

/// Contents table of a folder: one row per message.
inline constexpr std::array<format::TableColumn, 28> kContentsTableColumns = {{
    Column(0x00170003, 20, 4, 5),    // PidTagImportance
    Column(0x001A001F, 12, 4, 3),    // PidTagMessageClass
    Column(0x00360003, 60, 4, 15),   // PidTagSensitivity
    Column(0x0037001F, 28, 4, 7),    // PidTagSubject
    Column(0x00390040, 40, 8, 9),    // PidTagClientSubmitTime
    Column(0x0042001F, 24, 4, 6),    // PidTagSentRepresentingName
    Column(0x0057000B, 120, 1, 13),  // PidTagMessageToMe
    Column(0x0058000B, 121, 1, 14),  // PidTagMessageCcMe
    Column(0x0070001F, 68, 4, 17),   // PidTagConversationTopic
    Column(0x00710102, 72, 4, 18),   // PidTagConversationIndex
    Column(0x0E03001F, 56, 4, 12),   // PidTagDisplayCc
    Column(0x0E04001F, 52, 4, 11),   // PidTagDisplayTo
    Column(0x0E060040, 32, 8, 8),    // PidTagMessageDeliveryTime
    Column(0x0E070003, 16, 4, 4),    // PidTagMessageFlags
    Column(0x0E080003, 48, 4, 10),   // PidTagMessageSize
    Column(0x0E170003, 8, 4, 2),     // PidTagMessageStatus
    Column(0x0E300102, 92, 4, 22),   // PidTagReplItemid
    Column(0x0E330014, 96, 8, 23),   // PidTagReplChangenum
    Column(0x0E340102, 104, 4, 24),  // PidTagReplVersionHistory
    Column(0x0E380003, 116, 4, 27),  // PidTagReplFlags
    Column(0x0E3C0102, 112, 4, 26),  // PidTagReplCopiedfromVersionhistory
    Column(0x0E3D0102, 108, 4, 25),  // PidTagReplCopiedfromItemid
    Column(0x10970003, 64, 4, 16),   // PidTagItemTemporaryFlags
    Column(0x30080040, 84, 8, 21),   // PidTagLastModificationTime
    Column(0x30130102, 76, 4, 19),   // PidTagConversationId
    Column(0x65C60003, 80, 4, 20),   // PidTagSecureSubmitFlags
    Column(0x67F20003, 0, 4, 0),     // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),     // PidTagLtpRowVer
}};

/// Table of a folder's associated messages.
inline constexpr std::array<format::TableColumn, 15> kAssociatedContentsTableColumns = {{
    Column(0x001A001F, 12, 4, 3),   // PidTagMessageClass
    Column(0x0E070003, 16, 4, 4),   // PidTagMessageFlags
    Column(0x0E170003, 8, 4, 2),    // PidTagMessageStatus
    Column(0x3001001F, 20, 4, 5),   // PidTagDisplayName
    Column(0x67F20003, 0, 4, 0),    // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),    // PidTagLtpRowVer
    Column(0x6800001F, 44, 4, 11),  // PidTagOfflineAddressBookName
    Column(0x6803000B, 56, 1, 12),  // PidTagSendOutlookRecallReport
    Column(0x68051003, 48, 4, 13),  // PidTagOfflineAddressBookTruncatedProperties
    Column(0x682F001F, 52, 4, 14),  // PidTagMapiFormComposeCommand
    Column(0x70030003, 24, 4, 6),   // PidTagViewDescriptorFlags
    Column(0x70040102, 28, 4, 7),   // PidTagViewDescriptorLinkTo
    Column(0x70050102, 32, 4, 8),   // PidTagViewDescriptorViewFolder
    Column(0x7006001F, 36, 4, 9),   // PidTagViewDescriptorName
    Column(0x70070003, 40, 4, 10),  // PidTagViewDescriptorVersion
}};

/// Contents table of a search folder.
inline constexpr std::array<format::TableColumn, 19> kSearchContentsTableColumns = {{
    Column(0x00170003, 28, 4, 7),   // PidTagImportance
    Column(0x001A001F, 20, 4, 5),   // PidTagMessageClass
    Column(0x00360003, 60, 4, 16),  // PidTagSensitivity
    Column(0x0037001F, 36, 4, 9),   // PidTagSubject
    Column(0x0042001F, 32, 4, 8),   // PidTagSentRepresentingName
    Column(0x0057000B, 72, 1, 14),  // PidTagMessageToMe
    Column(0x0058000B, 73, 1, 15),  // PidTagMessageCcMe
    Column(0x0E03001F, 56, 4, 13),  // PidTagDisplayCc
    Column(0x0E04001F, 52, 4, 12),  // PidTagDisplayTo
    Column(0x0E05001F, 12, 4, 3),   // PidTagParentDisplay
    Column(0x0E060040, 40, 8, 10),  // PidTagMessageDeliveryTime
    Column(0x0E070003, 24, 4, 6),   // PidTagMessageFlags
    Column(0x0E080003, 48, 4, 11),  // PidTagMessageSize
    Column(0x0E170003, 16, 4, 4),   // PidTagMessageStatus
    Column(0x0E2A000B, 74, 1, 17),  // PidTagExchangeRemoteHeader
    Column(0x30080040, 64, 8, 18),  // PidTagLastModificationTime
    Column(0x67F10003, 8, 4, 2),    // PidTagLtpParentNid
    Column(0x67F20003, 0, 4, 0),    // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),    // PidTagLtpRowVer
}};

/// Receive folder table.
inline constexpr std::array<format::TableColumn, 4> kReceiveFolderTableColumns = {{
    Column(0x001A001F, 12, 4, 3),                              // PidTagMessageClass
    Column(0x66050003, 8, 4, 2), Column(0x67F20003, 0, 4, 0),  // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),                               // PidTagLtpRowVer
}};

/// Outgoing queue table.
inline constexpr std::array<format::TableColumn, 5> kOutgoingQueueTableColumns = {{
    Column(0x00390040, 16, 8, 4),  // PidTagClientSubmitTime
    Column(0x0E100003, 12, 4, 3), Column(0x0E140003, 8, 4, 2), Column(0x67F20003, 0, 4, 0),  // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),  // PidTagLtpRowVer
}};

/// Attachment table of a message.
inline constexpr std::array<format::TableColumn, 6> kAttachmentTableColumns = {{
    Column(0x0E200003, 12, 4, 3),  // PidTagAttachSize
    Column(0x3704001F, 20, 4, 5),  // PidTagAttachFilename
    Column(0x37050003, 16, 4, 4),  // PidTagAttachMethod
    Column(0x370B0003, 8, 4, 2),   // PidTagRenderingPosition
    Column(0x67F20003, 0, 4, 0),   // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),   // PidTagLtpRowVer
}};

/// Recipient table of a message.
inline constexpr std::array<format::TableColumn, 14> kRecipientTableColumns = {{
    Column(0x0C150003, 24, 4, 7),   // PidTagRecipientType
    Column(0x0E0F000B, 48, 1, 2),   // PidTagResponsibility
    Column(0x0FF90102, 32, 4, 9),   // PidTagRecordKey
    Column(0x0FFE0003, 36, 4, 10),  // PidTagObjectType
    Column(0x0FFF0102, 16, 4, 5),   // PidTagEntryId
    Column(0x3001001F, 20, 4, 6),   // PidTagDisplayName
    Column(0x3002001F, 8, 4, 3),    // PidTagAddressType
    Column(0x3003001F, 12, 4, 4),   // PidTagEmailAddress
    Column(0x300B0102, 28, 4, 8),   // PidTagSearchKey
    Column(0x39000003, 40, 4, 11),  // PidTagDisplayType
    Column(0x39FF001F, 44, 4, 13),  // PidTag7BitDisplayName
    Column(0x3A40000B, 49, 1, 12),  // PidTagSendRichInfo
    Column(0x67F20003, 0, 4, 0),    // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),    // PidTagLtpRowVer
}};

/// Node 0x6B6, which the public document does not describe: replication changes.
inline constexpr std::array<format::TableColumn, 5> kChangeTableColumns = {{
    Column(0x0E330014, 8, 8, 2),                                 // PidTagReplChangenum
    Column(0x0E370102, 16, 4, 3), Column(0x0E380003, 20, 4, 4),  // PidTagReplFlags
    Column(0x67F20003, 0, 4, 0),                                 // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),                                 // PidTagLtpRowVer
}};

/// Node 0x6D7, which the public document does not describe: replication.
inline constexpr std::array<format::TableColumn, 9> kReplicationTableColumns = {{
    Column(0x001A001F, 36, 4, 8),                                // PidTagMessageClass
    Column(0x0E300102, 16, 4, 4),                                // PidTagReplItemid
    Column(0x0E310102, 12, 4, 3), Column(0x0E330014, 28, 8, 7),  // PidTagReplChangenum
    Column(0x0E340102, 24, 4, 6),                                // PidTagReplVersionHistory
    Column(0x0E380003, 20, 4, 5),                                // PidTagReplFlags
    Column(0x0E3E0102, 8, 4, 2), Column(0x67F20003, 0, 4, 0),    // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),                                 // PidTagLtpRowVer
}};

/// Node 0x6F8, which the public document does not describe: replication.
inline constexpr std::array<format::TableColumn, 4> kReplicationTimeTableColumns = {{
    Column(0x0E330014, 16, 8, 3),  // PidTagReplChangenum
    Column(0x30070040, 8, 8, 2),   // PidTagCreationTime
    Column(0x67F20003, 0, 4, 0),   // PidTagLtpRowId
    Column(0x67F30003, 4, 4, 1),   // PidTagLtpRowVer
}};

}  // namespace tabletemplate
}  // namespace pastille::component::pst
