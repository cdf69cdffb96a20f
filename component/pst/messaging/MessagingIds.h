#pragma once

#include <cstdint>

namespace pastille::component::pst {

/// Properties that only the messaging layer itself needs. [MS-OXPROPS]
namespace pid {
inline constexpr std::uint16_t kAttachDataObject = 0x3701;  ///< same id as the bytes, other type
inline constexpr std::uint16_t kAttachExtension = 0x3703;
inline constexpr std::uint16_t kIpmAppointmentEntryId = 0x36D0;  ///< and the next four: default folders
inline constexpr std::uint16_t kAdditionalRenEntryIds = 0x36D8;
inline constexpr std::uint16_t kPstLrNoRestrictions = 0x6633;
inline constexpr std::uint16_t kReceiveFolderNid = 0x6605;
inline constexpr std::uint16_t kSearchState = 0x660B;
inline constexpr std::uint16_t kPstHiddenCount = 0x6635;   ///< associated messages of a folder
inline constexpr std::uint16_t kPstHiddenUnread = 0x6636;  ///< those that have not been read
inline constexpr std::uint16_t kLatestPstEnsure = 0x66FA;
inline constexpr std::uint16_t kAttachmentContactPhoto = 0x7FFF;
}  // namespace pid

/// Values of PidTagAttachMethod. [MS-OXCMSG] 2.2.2.9
namespace attachmethod {
inline constexpr std::uint32_t kNone = 0;
inline constexpr std::uint32_t kByValue = 1;
inline constexpr std::uint32_t kEmbeddedMessage = 5;
inline constexpr std::uint32_t kOle = 6;
inline constexpr std::uint32_t kLargestKnown = 7;
}  // namespace attachmethod

}  // namespace pastille::component::pst
