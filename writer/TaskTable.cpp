#include "writer/FamilyWriter.h"

#include "writer/FamilyRows.h"
#include "writer/TaskProperties.h"

namespace pastille::writer {
namespace {

namespace lid = format::lid;
using enum FamilyValue;

constexpr FamilyRow kOwnRows[] = {
    {lid::kTaskComplete, Flag, &property::TaskComplete},
    {lid::kTaskAccepted, Flag, &property::TaskAccepted},
    {lid::kTaskStatus, Number, &property::TaskStatus},
    {format::pid::kPriority, Text, &property::Priority},
    {lid::kTaskStartDate, Date, &property::TaskStartDate},
    {lid::kTaskDueDate, Date, &property::TaskDueDate},
    {lid::kTaskDateCompleted, Date, &property::TaskDateCompleted},
    {lid::kTaskOwner, Text, &property::TaskOwner},
    {lid::kMileage, Text, &property::Mileage},
    {lid::kBilling, Text, &property::BillingInformation},
};

constexpr auto kRows = SortedRows(kEveryItemRows, kImportanceRows, kRequestFlagRows, kRoutingFlagRows,
                                  kSenderRows, kRecipientRows, kReminderSetRows, kReminderRuleRows, kOwnRows);
static_assert(AreUnique(kRows));

}  // namespace

constinit const FamilyTable kTaskTable = kRows;

}  // namespace pastille::writer
