#include "writer/FamilyWriter.h"

#include "writer/FamilyRows.h"
#include "writer/NoteProperties.h"

namespace pastille::writer {
namespace {

namespace lid = format::lid;
using enum FamilyValue;

constexpr FamilyRow kOnlyNoteRows[] = {
    {lid::kNoteColor, Number, &property::NoteColor},
    {lid::kNoteWidth, Number, &property::NoteWidth},
    {lid::kNoteHeight, Number, &property::NoteHeight},
};

constexpr auto kNoteRows =
    SortedRows(kEveryItemRows, kRequestFlagRows, kRoutingFlagRows, kReminderSetRows, kOnlyNoteRows);
static_assert(AreUnique(kNoteRows));

}  // namespace

constinit const FamilyTable kNoteTable = kNoteRows;

}  // namespace pastille::writer
