#pragma once

#include "writer/ItemProperties.h"

/// The properties that only appointments have. [MS-OXPROPS]
namespace pastille::writer::property {

inline constexpr ItemProperty AllDayEvent =
    NamedFlag("AllDayEvent", format::propset::kAppointment, format::lid::kAppointmentSubType);
inline constexpr ItemProperty BusyStatus =
    NamedNumber("BusyStatus", format::propset::kAppointment, format::lid::kBusyStatus);
/// Minutes.
inline constexpr ItemProperty Duration =
    NamedNumber("Duration", format::propset::kAppointment, format::lid::kAppointmentDuration);
inline constexpr ItemProperty End =
    NamedDate("End", format::propset::kAppointment, format::lid::kAppointmentEndWhole);
inline constexpr ItemProperty ReminderSignalTime =
    NamedDate("ReminderSignalTime", format::propset::kCommon, format::lid::kReminderSignalTime);
inline constexpr ItemProperty Start =
    NamedDate("Start", format::propset::kAppointment, format::lid::kAppointmentStartWhole);
inline constexpr ItemProperty Location =
    NamedText("Location", format::propset::kAppointment, format::lid::kLocation);

}  // namespace pastille::writer::property
