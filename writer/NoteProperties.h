#pragma once

#include "writer/ItemProperties.h"

/// The properties that only notes have. [MS-OXPROPS]
namespace pastille::writer::property {

/// Pixels, as the height.
inline constexpr ItemProperty NoteWidth =
    NamedNumber("NoteWidth", format::propset::kNote, format::lid::kNoteWidth);
inline constexpr ItemProperty NoteHeight =
    NamedNumber("NoteHeight", format::propset::kNote, format::lid::kNoteHeight);
inline constexpr ItemProperty NoteColor =
    NamedNumber("NoteColor", format::propset::kNote, format::lid::kNoteColor);

}  // namespace pastille::writer::property
