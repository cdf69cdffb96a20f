#pragma once

#include <cstdint>
#include <string_view>

#include "format/Guid.h"
#include "format/PropertyIds.h"
#include "format/PropertyTag.h"

namespace pastille::writer {

/// How a property crosses the component's border.
enum class PropertyKind {
    Text,    ///< UTF-16
    Date,    ///< OLE automation date: days since 30 December 1899, UTC
    Flag,    ///< 16-bit truth value, any nonzero value is true
    Number,  ///< signed 32-bit
};

/// Where and how the store keeps a property.
enum class PropertyStorage {
    Tag,             ///< under a fixed property id
    Named,           ///< under a numeric name: property set and long id
    NamedString,     ///< under a string name in a property set
    FlagBit,         ///< one bit of PidTagMessageFlags; `number` is the mask
    FlagBitInverse,  ///< the property is true while the bit is clear
};

/// One property of an item: all that the component needs to keep it and that a writer needs to name it.
struct ItemProperty {
    std::string_view name;
    PropertyKind kind;
    PropertyStorage storage;
    std::uint32_t number;              ///< property id, long id or bit mask
    format::PropertyType storedType;   ///< in the file; MultipleString texts are split and joined at ";"
    format::Guid propertySet{};        ///< for the two named storages
    std::u16string_view stringName{};  ///< for NamedString
};

/// The properties common to all items. [MS-OXPROPS]
namespace property {

/// Shorthands: a property of that kind under a fixed id, or under a numeric name in a property set.
constexpr ItemProperty Text(std::string_view name, std::uint16_t id)
{
    return {name, PropertyKind::Text, PropertyStorage::Tag, id, format::PropertyType::String};
}
constexpr ItemProperty Date(std::string_view name, std::uint16_t id)
{
    return {name, PropertyKind::Date, PropertyStorage::Tag, id, format::PropertyType::Time};
}
constexpr ItemProperty Flag(std::string_view name, std::uint16_t id)
{
    return {name, PropertyKind::Flag, PropertyStorage::Tag, id, format::PropertyType::Boolean};
}
constexpr ItemProperty Number(std::string_view name, std::uint16_t id)
{
    return {name, PropertyKind::Number, PropertyStorage::Tag, id, format::PropertyType::Integer32};
}
constexpr ItemProperty NamedText(std::string_view name, const format::Guid& set, std::uint32_t lid)
{
    return {name, PropertyKind::Text, PropertyStorage::Named, lid, format::PropertyType::String, set};
}
constexpr ItemProperty NamedDate(std::string_view name, const format::Guid& set, std::uint32_t lid)
{
    return {name, PropertyKind::Date, PropertyStorage::Named, lid, format::PropertyType::Time, set};
}
constexpr ItemProperty NamedFlag(std::string_view name, const format::Guid& set, std::uint32_t lid)
{
    return {name, PropertyKind::Flag, PropertyStorage::Named, lid, format::PropertyType::Boolean, set};
}
constexpr ItemProperty NamedNumber(std::string_view name, const format::Guid& set, std::uint32_t lid)
{
    return {name, PropertyKind::Number, PropertyStorage::Named, lid, format::PropertyType::Integer32, set};
}

inline constexpr ItemProperty Subject = Text("Subject", format::pid::kSubject);
inline constexpr ItemProperty AlternateRecipientAllowed =
    Flag("AlternateRecipientAllowed", format::pid::kAlternateRecipientAllowed);
inline constexpr ItemProperty AutoForwarded = Flag("AutoForwarded", format::pid::kAutoForwarded);
inline constexpr ItemProperty DisplayBcc = Text("DisplayBcc", format::pid::kDisplayBcc);
inline constexpr ItemProperty BillingInformation =
    NamedText("BillingInformation", format::propset::kCommon, format::lid::kBilling);
inline constexpr ItemProperty Body = Text("Body", format::pid::kBody);
/// The item's categories.
inline constexpr ItemProperty NamedText8012{"NamedText8012",
                                            PropertyKind::Text,
                                            PropertyStorage::NamedString,
                                            0,
                                            format::PropertyType::MultipleString,
                                            format::propset::kPublicStrings,
                                            u"Keywords"};
inline constexpr ItemProperty DisplayCc = Text("DisplayCc", format::pid::kDisplayCc);
inline constexpr ItemProperty Companies{"Companies",
                                        PropertyKind::Text,
                                        PropertyStorage::Named,
                                        format::lid::kCompanies,
                                        format::PropertyType::MultipleString,
                                        format::propset::kCommon};
inline constexpr ItemProperty ConversationTopic = Text("ConversationTopic", format::pid::kConversationTopic);
inline constexpr ItemProperty DeleteAfterSubmit = Flag("DeleteAfterSubmit", format::pid::kDeleteAfterSubmit);
inline constexpr ItemProperty DueDate =
    NamedDate("DueDate", format::propset::kTask, format::lid::kTaskDueDate);
inline constexpr ItemProperty FollowupIcon = Number("FollowupIcon", format::pid::kFollowupIcon);
inline constexpr ItemProperty FlagRequest =
    NamedText("FlagRequest", format::propset::kCommon, format::lid::kFlagRequest);
inline constexpr ItemProperty FlagStatus = Number("FlagStatus", format::pid::kFlagStatus);
/// Code page of the HTML body. To be set before it; without one the component chooses UTF-8.
inline constexpr ItemProperty InternetCodepage = Number("InternetCodepage", format::pid::kInternetCodepage);
/// Kept as bytes in the code page of the item.
inline constexpr ItemProperty HtmlBody{"HtmlBody", PropertyKind::Text, PropertyStorage::Tag,
                                       format::pid::kHtml, format::PropertyType::Binary};
inline constexpr ItemProperty Importance = Number("Importance", format::pid::kImportance);
/// Bytes of the whole item; the component keeps it itself.
inline constexpr ItemProperty MessageSize = Number("MessageSize", format::pid::kMessageSize);
inline constexpr ItemProperty Mileage = NamedText("Mileage", format::propset::kCommon, format::lid::kMileage);
inline constexpr ItemProperty AgingDontAgeMe =
    NamedFlag("AgingDontAgeMe", format::propset::kCommon, format::lid::kAgingDontAgeMe);
inline constexpr ItemProperty OriginatorDeliveryReportRequested =
    Flag("OriginatorDeliveryReportRequested", format::pid::kOriginatorDeliveryReportRequested);
inline constexpr ItemProperty ReadReceiptRequested =
    Flag("ReadReceiptRequested", format::pid::kReadReceiptRequested);
inline constexpr ItemProperty AddressLine = Text("AddressLine", format::pid::kReceivedByEmailAddress);
inline constexpr ItemProperty DeliveryTime = Date("DeliveryTime", format::pid::kMessageDeliveryTime);
inline constexpr ItemProperty RecipientReassignmentProhibited =
    Flag("RecipientReassignmentProhibited", format::pid::kRecipientReassignmentProhibited);
inline constexpr ItemProperty ReminderOverride =
    NamedFlag("ReminderOverride", format::propset::kCommon, format::lid::kReminderOverride);
inline constexpr ItemProperty ReminderSet =
    NamedFlag("ReminderSet", format::propset::kCommon, format::lid::kReminderSet);
inline constexpr ItemProperty ReminderTime =
    NamedDate("ReminderTime", format::propset::kCommon, format::lid::kReminderTime);
inline constexpr ItemProperty SenderEmailAddress =
    Text("SenderEmailAddress", format::pid::kSenderEmailAddress);
inline constexpr ItemProperty SenderAddressType = Text("SenderAddressType", format::pid::kSenderAddressType);
inline constexpr ItemProperty SenderName = Text("SenderName", format::pid::kSenderName);
inline constexpr ItemProperty Sensitivity = Number("Sensitivity", format::pid::kSensitivity);
inline constexpr ItemProperty Sent{"Sent", PropertyKind::Flag, PropertyStorage::FlagBitInverse,
                                   format::messageflag::kUnsent, format::PropertyType::Integer32};
inline constexpr ItemProperty SubmitTime = Date("SubmitTime", format::pid::kClientSubmitTime);
inline constexpr ItemProperty SentRepresentingName =
    Text("SentRepresentingName", format::pid::kSentRepresentingName);
inline constexpr ItemProperty SentRepresentingEmailAddress =
    Text("SentRepresentingEmailAddress", format::pid::kSentRepresentingEmailAddress);
inline constexpr ItemProperty SentRepresentingAddressType =
    Text("SentRepresentingAddressType", format::pid::kSentRepresentingAddressType);
inline constexpr ItemProperty DisplayTo = Text("DisplayTo", format::pid::kDisplayTo);
inline constexpr ItemProperty UnRead{"UnRead", PropertyKind::Flag, PropertyStorage::FlagBitInverse,
                                     format::messageflag::kRead, format::PropertyType::Integer32};
/// One byte per character. Compressed RTF is kept as it is, other RTF is compressed by the component.
inline constexpr ItemProperty RtfBody{"RtfBody", PropertyKind::Text, PropertyStorage::Tag,
                                      format::pid::kRtfCompressed, format::PropertyType::Binary};

}  // namespace property
}  // namespace pastille::writer
