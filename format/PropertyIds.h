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
inline constexpr std::uint16_t kPriority = 0x0026;
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
inline constexpr std::uint16_t kAttachContentId = 0x3712;
inline constexpr std::uint16_t kAccount = 0x3A00;
inline constexpr std::uint16_t kCallbackTelephoneNumber = 0x3A02;
inline constexpr std::uint16_t kGeneration = 0x3A05;
inline constexpr std::uint16_t kGivenName = 0x3A06;
inline constexpr std::uint16_t kGovernmentIdNumber = 0x3A07;
inline constexpr std::uint16_t kBusinessTelephoneNumber = 0x3A08;
inline constexpr std::uint16_t kHomeTelephoneNumber = 0x3A09;
inline constexpr std::uint16_t kInitials = 0x3A0A;
inline constexpr std::uint16_t kLanguage = 0x3A0C;
inline constexpr std::uint16_t kLocation = 0x3A0D;
inline constexpr std::uint16_t kOrganizationalIdNumber = 0x3A10;
inline constexpr std::uint16_t kSurname = 0x3A11;
inline constexpr std::uint16_t kPostalAddress = 0x3A15;
inline constexpr std::uint16_t kCompanyName = 0x3A16;
inline constexpr std::uint16_t kTitle = 0x3A17;
inline constexpr std::uint16_t kDepartmentName = 0x3A18;
inline constexpr std::uint16_t kOfficeLocation = 0x3A19;
inline constexpr std::uint16_t kPrimaryTelephoneNumber = 0x3A1A;
inline constexpr std::uint16_t kBusiness2TelephoneNumber = 0x3A1B;
inline constexpr std::uint16_t kMobileTelephoneNumber = 0x3A1C;
inline constexpr std::uint16_t kRadioTelephoneNumber = 0x3A1D;
inline constexpr std::uint16_t kCarTelephoneNumber = 0x3A1E;
inline constexpr std::uint16_t kOtherTelephoneNumber = 0x3A1F;
inline constexpr std::uint16_t kPagerTelephoneNumber = 0x3A21;
inline constexpr std::uint16_t kPrimaryFaxNumber = 0x3A23;
inline constexpr std::uint16_t kBusinessFaxNumber = 0x3A24;
inline constexpr std::uint16_t kHomeFaxNumber = 0x3A25;
inline constexpr std::uint16_t kCountry = 0x3A26;
inline constexpr std::uint16_t kLocality = 0x3A27;
inline constexpr std::uint16_t kStateOrProvince = 0x3A28;
inline constexpr std::uint16_t kStreetAddress = 0x3A29;
inline constexpr std::uint16_t kPostalCode = 0x3A2A;
inline constexpr std::uint16_t kPostOfficeBox = 0x3A2B;
inline constexpr std::uint16_t kTelexNumber = 0x3A2C;
inline constexpr std::uint16_t kIsdnNumber = 0x3A2D;
inline constexpr std::uint16_t kAssistantTelephoneNumber = 0x3A2E;
inline constexpr std::uint16_t kHome2TelephoneNumber = 0x3A2F;
inline constexpr std::uint16_t kAssistant = 0x3A30;
inline constexpr std::uint16_t kWeddingAnniversary = 0x3A41;
inline constexpr std::uint16_t kBirthday = 0x3A42;
inline constexpr std::uint16_t kHobbies = 0x3A43;
inline constexpr std::uint16_t kMiddleName = 0x3A44;
inline constexpr std::uint16_t kDisplayNamePrefix = 0x3A45;
inline constexpr std::uint16_t kProfession = 0x3A46;
inline constexpr std::uint16_t kReferredByName = 0x3A47;
inline constexpr std::uint16_t kSpouseName = 0x3A48;
inline constexpr std::uint16_t kComputerNetworkName = 0x3A49;
inline constexpr std::uint16_t kCustomerId = 0x3A4A;
inline constexpr std::uint16_t kTtyTddPhoneNumber = 0x3A4B;
inline constexpr std::uint16_t kFtpSite = 0x3A4C;
inline constexpr std::uint16_t kGender = 0x3A4D;
inline constexpr std::uint16_t kManagerName = 0x3A4E;
inline constexpr std::uint16_t kNickname = 0x3A4F;
inline constexpr std::uint16_t kPersonalHomePage = 0x3A50;
inline constexpr std::uint16_t kBusinessHomePage = 0x3A51;
inline constexpr std::uint16_t kCompanyMainTelephoneNumber = 0x3A57;
inline constexpr std::uint16_t kChildrensNames = 0x3A58;
inline constexpr std::uint16_t kHomeAddressCity = 0x3A59;
inline constexpr std::uint16_t kHomeAddressCountry = 0x3A5A;
inline constexpr std::uint16_t kHomeAddressPostalCode = 0x3A5B;
inline constexpr std::uint16_t kHomeAddressStateOrProvince = 0x3A5C;
inline constexpr std::uint16_t kHomeAddressStreet = 0x3A5D;
inline constexpr std::uint16_t kHomeAddressPostOfficeBox = 0x3A5E;
inline constexpr std::uint16_t kOtherAddressCity = 0x3A5F;
inline constexpr std::uint16_t kOtherAddressCountry = 0x3A60;
inline constexpr std::uint16_t kOtherAddressPostalCode = 0x3A61;
inline constexpr std::uint16_t kOtherAddressStateOrProvince = 0x3A62;
inline constexpr std::uint16_t kOtherAddressStreet = 0x3A63;
inline constexpr std::uint16_t kOtherAddressPostOfficeBox = 0x3A64;
inline constexpr std::uint16_t kInternetCodepage = 0x3FDE;
inline constexpr std::uint16_t kMessageCodepage = 0x3FFD;
inline constexpr std::uint16_t kUserEntryId = 0x6619;
inline constexpr std::uint16_t kLtpRowId = 0x67F2;
inline constexpr std::uint16_t kLtpRowVer = 0x67F3;
inline constexpr std::uint16_t kPstPassword = 0x67FF;
inline constexpr std::uint16_t kFreeBusyMessageEmailAddress = 0x6849;
}  // namespace pid

/// Bits of PidTagMessageFlags. [MS-OXCMSG] 2.2.1.6
namespace messageflag {
inline constexpr std::uint32_t kRead = 0x01;
inline constexpr std::uint32_t kUnsent = 0x08;
inline constexpr std::uint32_t kHasAttachments = 0x10;
inline constexpr std::uint32_t kAssociated = 0x40;
}  // namespace messageflag

/// Long ids of named properties, by property set. [MS-OXPROPS] 2
namespace lid {
// No set is known to have this one.
inline constexpr std::uint32_t kNamedText8012 = 0x8012;

// PSETID_Address
inline constexpr std::uint32_t kHomeAddress = 0x801A;
inline constexpr std::uint32_t kWorkAddress = 0x801B;
inline constexpr std::uint32_t kOtherAddress = 0x801C;
inline constexpr std::uint32_t kYomiFirstName = 0x802C;
inline constexpr std::uint32_t kYomiLastName = 0x802D;
inline constexpr std::uint32_t kYomiCompanyName = 0x802E;
inline constexpr std::uint32_t kContactUserField1 = 0x804F;
inline constexpr std::uint32_t kContactUserField2 = 0x8050;
inline constexpr std::uint32_t kContactUserField3 = 0x8051;
inline constexpr std::uint32_t kContactUserField4 = 0x8052;
inline constexpr std::uint32_t kInstantMessagingAddress = 0x8062;
inline constexpr std::uint32_t kEmail1DisplayName = 0x8080;
inline constexpr std::uint32_t kEmail1AddressType = 0x8082;
inline constexpr std::uint32_t kEmail1EmailAddress = 0x8083;
inline constexpr std::uint32_t kEmail2DisplayName = 0x8090;
inline constexpr std::uint32_t kEmail2AddressType = 0x8092;
inline constexpr std::uint32_t kEmail2EmailAddress = 0x8093;
inline constexpr std::uint32_t kEmail3DisplayName = 0x80A0;
inline constexpr std::uint32_t kEmail3AddressType = 0x80A2;
inline constexpr std::uint32_t kEmail3EmailAddress = 0x80A3;

// PSETID_Task
inline constexpr std::uint32_t kTaskStatus = 0x8101;
inline constexpr std::uint32_t kTaskStartDate = 0x8104;
inline constexpr std::uint32_t kTaskDueDate = 0x8105;
inline constexpr std::uint32_t kTaskAccepted = 0x8108;
inline constexpr std::uint32_t kTaskDateCompleted = 0x810F;
inline constexpr std::uint32_t kTaskComplete = 0x811C;
inline constexpr std::uint32_t kTaskOwner = 0x811F;

// PSETID_Appointment
inline constexpr std::uint32_t kBusyStatus = 0x8205;
inline constexpr std::uint32_t kLocation = 0x8208;
inline constexpr std::uint32_t kAppointmentStartWhole = 0x820D;
inline constexpr std::uint32_t kAppointmentEndWhole = 0x820E;
inline constexpr std::uint32_t kAppointmentDuration = 0x8213;
inline constexpr std::uint32_t kAppointmentSubType = 0x8215;

// PSETID_Common
inline constexpr std::uint32_t kReminderTime = 0x8502;
inline constexpr std::uint32_t kReminderSet = 0x8503;
inline constexpr std::uint32_t kAgingDontAgeMe = 0x850E;
inline constexpr std::uint32_t kReminderOverride = 0x851C;
inline constexpr std::uint32_t kFlagRequest = 0x8530;
inline constexpr std::uint32_t kMileage = 0x8534;
inline constexpr std::uint32_t kBilling = 0x8535;
inline constexpr std::uint32_t kCompanies = 0x8539;
inline constexpr std::uint32_t kReminderSignalTime = 0x8560;

// PSETID_Log
inline constexpr std::uint32_t kLogType = 0x8700;
inline constexpr std::uint32_t kLogStart = 0x8706;
inline constexpr std::uint32_t kLogDuration = 0x8707;
inline constexpr std::uint32_t kLogDocumentPrinted = 0x870E;
inline constexpr std::uint32_t kLogDocumentSaved = 0x870F;
inline constexpr std::uint32_t kLogDocumentRouted = 0x8710;
inline constexpr std::uint32_t kLogDocumentPosted = 0x8711;

// PSETID_Note
inline constexpr std::uint32_t kNoteColor = 0x8B00;
inline constexpr std::uint32_t kNoteWidth = 0x8B02;
inline constexpr std::uint32_t kNoteHeight = 0x8B03;
}  // namespace lid

}  // namespace pastille::format
