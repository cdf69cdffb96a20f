#pragma once

#include <cstdint>

namespace pastille::format {

/// Property identifiers by their canonical names. [MS-OXPROPS]
namespace pid {
inline constexpr std::uint16_t kAlternateRecipientAllowed = 0x0002;
inline constexpr std::uint16_t kAutoForwarded = 0x0005;
inline constexpr std::uint16_t kImportance = 0x0017;
inline constexpr std::uint16_t kMessageClass = 0x001A;
inline constexpr std::uint16_t kOriginatorDeliveryReportRequested = 0x0023;
inline constexpr std::uint16_t kReadReceiptRequested = 0x0029;
inline constexpr std::uint16_t kRecipientReassignmentProhibited = 0x002B;
inline constexpr std::uint16_t kSensitivity = 0x0036;
inline constexpr std::uint16_t kSubject = 0x0037;
inline constexpr std::uint16_t kClientSubmitTime = 0x0039;
inline constexpr std::uint16_t kSentRepresentingName = 0x0042;
inline constexpr std::uint16_t kSentRepresentingAddressType = 0x0064;
inline constexpr std::uint16_t kSentRepresentingEmailAddress = 0x0065;
inline constexpr std::uint16_t kConversationTopic = 0x0070;
inline constexpr std::uint16_t kReceivedByEmailAddress = 0x0076;
inline constexpr std::uint16_t kRecipientType = 0x0C15;
inline constexpr std::uint16_t kSenderName = 0x0C1A;
inline constexpr std::uint16_t kSenderAddressType = 0x0C1E;
inline constexpr std::uint16_t kSenderEmailAddress = 0x0C1F;
inline constexpr std::uint16_t kDeleteAfterSubmit = 0x0E01;
inline constexpr std::uint16_t kDisplayBcc = 0x0E02;
inline constexpr std::uint16_t kDisplayCc = 0x0E03;
inline constexpr std::uint16_t kDisplayTo = 0x0E04;
inline constexpr std::uint16_t kMessageDeliveryTime = 0x0E06;
inline constexpr std::uint16_t kMessageFlags = 0x0E07;
inline constexpr std::uint16_t kMessageSize = 0x0E08;
inline constexpr std::uint16_t kMessageStatus = 0x0E17;
inline constexpr std::uint16_t kAttachSize = 0x0E20;
inline constexpr std::uint16_t kAttachNumber = 0x0E21;
inline constexpr std::uint16_t kRecordKey = 0x0FF9;
inline constexpr std::uint16_t kBody = 0x1000;
inline constexpr std::uint16_t kRtfCompressed = 0x1009;
inline constexpr std::uint16_t kHtml = 0x1013;
inline constexpr std::uint16_t kIconIndex = 0x1080;
inline constexpr std::uint16_t kLastVerbExecuted = 0x1081;
inline constexpr std::uint16_t kFlagStatus = 0x1090;
inline constexpr std::uint16_t kFollowupIcon = 0x1095;
inline constexpr std::uint16_t kDisplayName = 0x3001;
inline constexpr std::uint16_t kAddressType = 0x3002;
inline constexpr std::uint16_t kEmailAddress = 0x3003;
inline constexpr std::uint16_t kComment = 0x3004;
inline constexpr std::uint16_t kCreationTime = 0x3007;
inline constexpr std::uint16_t kLastModificationTime = 0x3008;
inline constexpr std::uint16_t kSearchKey = 0x300B;
inline constexpr std::uint16_t kValidFolderMask = 0x35DF;
inline constexpr std::uint16_t kIpmSubtreeEntryId = 0x35E0;
inline constexpr std::uint16_t kIpmWastebasketEntryId = 0x35E3;
inline constexpr std::uint16_t kFinderEntryId = 0x35E7;
inline constexpr std::uint16_t kContentCount = 0x3602;
inline constexpr std::uint16_t kContentUnreadCount = 0x3603;
inline constexpr std::uint16_t kSubfolders = 0x360A;
inline constexpr std::uint16_t kContainerClass = 0x3613;
inline constexpr std::uint16_t kAttachDataBinary = 0x3701;
inline constexpr std::uint16_t kAttachFilename = 0x3704;
inline constexpr std::uint16_t kAttachMethod = 0x3705;
inline constexpr std::uint16_t kAttachLongFilename = 0x3707;
inline constexpr std::uint16_t kRenderingPosition = 0x370B;
inline constexpr std::uint16_t kInternetCodepage = 0x3FDE;
inline constexpr std::uint16_t kPstPassword = 0x67FF;
inline constexpr std::uint16_t kLtpRowId = 0x67F2;
inline constexpr std::uint16_t kLtpRowVer = 0x67F3;
}  // namespace pid

/// Long ids of named properties. [MS-OXPROPS] 2
namespace lid {
inline constexpr std::uint32_t kTaskStatus = 0x8101;
inline constexpr std::uint32_t kTaskDueDate = 0x8105;
inline constexpr std::uint32_t kReminderTime = 0x8502;
inline constexpr std::uint32_t kReminderSet = 0x8503;
inline constexpr std::uint32_t kAgingDontAgeMe = 0x850E;
inline constexpr std::uint32_t kReminderOverride = 0x851C;
inline constexpr std::uint32_t kFlagRequest = 0x8530;
inline constexpr std::uint32_t kMileage = 0x8534;
inline constexpr std::uint32_t kBilling = 0x8535;
inline constexpr std::uint32_t kCompanies = 0x8539;
}  // namespace lid

}  // namespace pastille::format
