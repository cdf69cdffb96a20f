#include "writer/FamilyWriter.h"

#include "writer/FamilyRows.h"
#include "writer/TaskProperties.h"

namespace pastille::writer {
namespace {

namespace lid = format::lid;
using enum FamilyValue;

constexpr FamilyRow kOnlyTaskRows[] = {
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

constexpr auto kTaskRows =
    SortedRows(kEveryItemRows, kImportanceRows, kRequestFlagRows, kRoutingFlagRows, kSenderRows,
               kRecipientRows, kReminderSetRows, kReminderRuleRows, kOnlyTaskRows);
static_assert(AreUnique(kTaskRows));

}  // namespace

constinit const FamilyTable kTaskTable = kTaskRows;

}  // namespace pastille::writer
