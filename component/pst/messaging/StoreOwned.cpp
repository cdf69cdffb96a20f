#include "component/pst/messaging/StoreOwned.h"

#include <algorithm>
#include <array>
#include <initializer_list>

#include "component/pst/messaging/MessagingIds.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

constexpr std::uint16_t kParentEntryId = 0x0E09;
constexpr std::uint16_t kHasAttachments = 0x0E1B;
constexpr std::uint16_t kInstanceKey = 0x0FF6;
constexpr std::uint16_t kStoreRecordKey = 0x0FFA;
constexpr std::uint16_t kStoreEntryId = 0x0FFB;
constexpr std::uint16_t kObjectType = 0x0FFE;
constexpr std::uint16_t kEntryId = 0x0FFF;
constexpr std::uint16_t kAssociatedContentCount = 0x3617;
constexpr std::uint16_t kLastDefaultFolder = 0x36D9;  ///< the last id of the list that begins at 0x36D0
constexpr std::uint16_t kFreeBusyEntryIds = 0x36E4;
constexpr std::uint16_t kFirstLtp = 0x67F0;  ///< and the next three: bookkeeping of tables

bool IsOneOf(std::uint16_t id, std::initializer_list<std::uint16_t> ids)
{
    return std::ranges::find(ids, id) != ids.end();
}

/// What every object has of its own, computed from where it is.
bool IsIdentity(std::uint16_t id)
{
    return IsOneOf(id, {kParentEntryId, kInstanceKey, format::pid::kRecordKey, kStoreRecordKey, kStoreEntryId,
                        kObjectType, kEntryId});
}

}  // namespace

bool IsStoreOwned(ObjectKind kind, std::uint16_t id)
{
    if ((id >= kFirstLtp && id <= format::pid::kLtpRowVer) || id == format::pid::kPstPassword)
        return true;
    switch (kind) {
        case ObjectKind::Message:
            return IsIdentity(id) || IsOneOf(id, {format::pid::kMessageSize, kHasAttachments});
        case ObjectKind::Attachment:
            return IsIdentity(id) || IsOneOf(id, {format::pid::kAttachSize, format::pid::kAttachNumber});
        case ObjectKind::Folder:
            return IsIdentity(id) || (id >= pid::kIpmAppointmentEntryId && id <= kLastDefaultFolder) ||
                   IsOneOf(id, {format::pid::kDisplayName, format::pid::kMessageSize,
                                format::pid::kContentCount, format::pid::kContentUnreadCount,
                                format::pid::kSubfolders, kAssociatedContentCount, kFreeBusyEntryIds,
                                pid::kPstHiddenCount, pid::kPstHiddenUnread});
        case ObjectKind::Recipient:
            break;
    }
    // The identifiers of a recipient are addresses.
    return false;
}

}  // namespace pastille::component::pst
