#pragma once

#include <cstdint>
#include <span>

#include "writer/Component.h"
#include "writer/PropertySource.h"

namespace pastille::writer {

/// How a source value becomes the value of its target.
enum class FamilyValue : std::uint8_t {
    Flag,      ///< PtypBoolean: low 16 bits of the value word
    Number,    ///< PtypInteger32: the whole value word
    Number16,  ///< PtypInteger16: low 16 bits of the value word
    Text,      ///< written only while the target reads back empty
    Date,      ///< PtypTime; a text in its place counts as date 0
};

/// One source property that a family of items keeps.
struct FamilyRow {
    std::uint32_t id;  ///< property id, or long id of a named property
    FamilyValue value;
    const ItemProperty* target;
    bool onlyInOst = false;
};

/// Everything that the items of a family keep, in ascending order of ids. Rows that share an id differ in
/// value; of Text and Date it has one at most.
using FamilyTable = std::span<const FamilyRow>;

extern const FamilyTable kContactTable;
extern const FamilyTable kAppointmentTable;
extern const FamilyTable kMeetingTable;
extern const FamilyTable kTaskTable;
extern const FamilyTable kJournalTable;
extern const FamilyTable kNoteTable;

/// Writes one property of an item that is no mail. A property whose value word, read as a heap identifier,
/// points past the block is passed over, whatever its type. Raises E_POINTER when there is no item, and what
/// the component raises.
void WriteFamilyProperty(FamilyTable table, const CRef<IMessageItem>& item, const SourceProperty& property,
                         IPropertySource& source);

}  // namespace pastille::writer
