#include "writer/FamilyWriter.h"

#include "writer/FamilyRows.h"
#include "writer/JournalProperties.h"

namespace pastille::writer {
namespace {

namespace lid = format::lid;
using enum FamilyValue;

constexpr FamilyRow kOnlyJournalRows[] = {
    {lid::kLogDocumentPosted, Flag, &property::DocumentPosted},
    {lid::kLogDocumentPrinted, Flag, &property::DocumentPrinted},
    {lid::kLogDocumentRouted, Flag, &property::DocumentRouted},
    {lid::kLogDocumentSaved, Flag, &property::DocumentSaved},
    {lid::kLogDuration, Number, &property::LogDuration},
    {lid::kLogStart, Date, &property::LogStart},
    {lid::kLogType, Text, &property::LogType},
};

constexpr auto kJournalRows = SortedRows(kEveryItemRows, kRequestFlagRows, kSenderRows, kRecipientRows,
                                         kReminderSetRows, kOnlyJournalRows);
static_assert(AreUnique(kJournalRows));

}  // namespace

constinit const FamilyTable kJournalTable = kJournalRows;

}  // namespace pastille::writer
