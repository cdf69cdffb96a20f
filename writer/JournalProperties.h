#pragma once

#include "writer/ItemProperties.h"

/// The properties that only journal entries have. [MS-OXPROPS]
namespace pastille::writer::property {

inline constexpr ItemProperty DocumentPosted =
    NamedFlag("DocumentPosted", format::propset::kLog, format::lid::kLogDocumentPosted);
inline constexpr ItemProperty DocumentPrinted =
    NamedFlag("DocumentPrinted", format::propset::kLog, format::lid::kLogDocumentPrinted);
inline constexpr ItemProperty DocumentRouted =
    NamedFlag("DocumentRouted", format::propset::kLog, format::lid::kLogDocumentRouted);
inline constexpr ItemProperty DocumentSaved =
    NamedFlag("DocumentSaved", format::propset::kLog, format::lid::kLogDocumentSaved);
/// Minutes.
inline constexpr ItemProperty LogDuration =
    NamedNumber("LogDuration", format::propset::kLog, format::lid::kLogDuration);
inline constexpr ItemProperty LogStart = NamedDate("LogStart", format::propset::kLog, format::lid::kLogStart);
inline constexpr ItemProperty LogType = NamedText("LogType", format::propset::kLog, format::lid::kLogType);

}  // namespace pastille::writer::property
