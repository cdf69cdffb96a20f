#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "writer/FamilyWriter.h"
#include "writer/ItemProperties.h"

// What the tables of the families are made of: the blocks of rows that several of them share, and the joining
// of blocks into a table.
namespace pastille::writer {

inline constexpr FamilyRow kEveryItemRows[] = {
    {format::pid::kFlagStatus, FamilyValue::Number, &property::FlagStatus},
    {format::pid::kSensitivity, FamilyValue::Number, &property::Sensitivity},
    {format::pid::kSubject, FamilyValue::Text, &property::Subject},
    {format::pid::kConversationTopic, FamilyValue::Text, &property::ConversationTopic},
    {format::pid::kMessageDeliveryTime, FamilyValue::Date, &property::DeliveryTime},
    {format::pid::kBody, FamilyValue::Text, &property::Body},
    {format::lid::kNamedText8012, FamilyValue::Text, &property::NamedText8012},
};

inline constexpr FamilyRow kImportanceRows[] = {
    {format::pid::kImportance, FamilyValue::Number, &property::Importance},
};

/// What the sender asked of those who receive the item.
inline constexpr FamilyRow kRequestFlagRows[] = {
    {format::pid::kOriginatorDeliveryReportRequested, FamilyValue::Flag,
     &property::OriginatorDeliveryReportRequested},
    {format::pid::kReadReceiptRequested, FamilyValue::Flag, &property::ReadReceiptRequested},
    {format::pid::kRecipientReassignmentProhibited, FamilyValue::Flag,
     &property::RecipientReassignmentProhibited},
};

inline constexpr FamilyRow kRoutingFlagRows[] = {
    {format::pid::kAlternateRecipientAllowed, FamilyValue::Flag, &property::AlternateRecipientAllowed},
    {format::pid::kAutoForwarded, FamilyValue::Flag, &property::AutoForwarded},
    {format::pid::kDeleteAfterSubmit, FamilyValue::Flag, &property::DeleteAfterSubmit},
};

inline constexpr FamilyRow kReminderSetRows[] = {
    {format::lid::kReminderSet, FamilyValue::Flag, &property::ReminderSet},
};

inline constexpr FamilyRow kReminderRuleRows[] = {
    {format::lid::kAgingDontAgeMe, FamilyValue::Flag, &property::AgingDontAgeMe},
    {format::lid::kReminderOverride, FamilyValue::Flag, &property::ReminderOverride},
};

inline constexpr FamilyRow kSenderRows[] = {
    {format::pid::kSentRepresentingName, FamilyValue::Text, &property::SentRepresentingName},
    {format::pid::kSentRepresentingAddressType, FamilyValue::Text, &property::SentRepresentingAddressType},
    {format::pid::kSentRepresentingEmailAddress, FamilyValue::Text, &property::SentRepresentingEmailAddress},
    {format::pid::kSenderName, FamilyValue::Text, &property::SenderName},
    {format::pid::kSenderAddressType, FamilyValue::Text, &property::SenderAddressType},
    {format::pid::kSenderEmailAddress, FamilyValue::Text, &property::SenderEmailAddress},
};

/// Whom the item goes to and what it is about.
inline constexpr FamilyRow kRecipientRows[] = {
    {format::pid::kDisplayBcc, FamilyValue::Text, &property::DisplayBcc},
    {format::pid::kDisplayCc, FamilyValue::Text, &property::DisplayCc},
    {format::pid::kDisplayTo, FamilyValue::Text, &property::DisplayTo},
    {format::lid::kFlagRequest, FamilyValue::Text, &property::FlagRequest},
    {format::lid::kCompanies, FamilyValue::Text, &property::Companies},
};

/// The types that share a row: a text may stand in the place of a date.
constexpr FamilyValue LookupValue(FamilyValue value)
{
    return value == FamilyValue::Date ? FamilyValue::Text : value;
}

/// The order of the lookup.
constexpr bool Precedes(const FamilyRow& left, const FamilyRow& right)
{
    return left.id != right.id ? left.id < right.id : LookupValue(left.value) < LookupValue(right.value);
}

/// The rows of all blocks in the order of the lookup.
template <std::size_t... sizes>
consteval auto SortedRows(const FamilyRow (&... blocks)[sizes])
{
    std::array<FamilyRow, (sizes + ...)> rows{};
    auto* end = rows.data();
    ((end = std::ranges::copy(blocks, end).out), ...);
    std::ranges::sort(rows, Precedes);
    return rows;
}

/// REQUIRES: the rows are in the order of the lookup.
constexpr bool AreUnique(FamilyTable rows)
{
    return std::ranges::adjacent_find(rows, [](const FamilyRow& left, const FamilyRow& right) {
               return !Precedes(left, right);
           }) == rows.end();
}

}  // namespace pastille::writer
