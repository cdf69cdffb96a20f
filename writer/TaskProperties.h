#pragma once

#include "writer/ItemProperties.h"

/// The properties that only tasks have. [MS-OXPROPS]
namespace pastille::writer::property {

inline constexpr ItemProperty TaskComplete =
    NamedFlag("TaskComplete", format::propset::kTask, format::lid::kTaskComplete);
inline constexpr ItemProperty TaskDateCompleted =
    NamedDate("TaskDateCompleted", format::propset::kTask, format::lid::kTaskDateCompleted);
inline constexpr ItemProperty TaskAccepted =
    NamedFlag("TaskAccepted", format::propset::kTask, format::lid::kTaskAccepted);
inline constexpr ItemProperty TaskDueDate =
    NamedDate("TaskDueDate", format::propset::kTask, format::lid::kTaskDueDate);
inline constexpr ItemProperty TaskOwner =
    NamedText("TaskOwner", format::propset::kTask, format::lid::kTaskOwner);
/// A text: only sources that keep the priority as one give it.
inline constexpr ItemProperty Priority = Text("Priority", format::pid::kPriority);
inline constexpr ItemProperty TaskStartDate =
    NamedDate("TaskStartDate", format::propset::kTask, format::lid::kTaskStartDate);
inline constexpr ItemProperty TaskStatus =
    NamedNumber("TaskStatus", format::propset::kTask, format::lid::kTaskStatus);

}  // namespace pastille::writer::property
