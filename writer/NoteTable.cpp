#include "writer/FamilyWriter.h"

#include "writer/FamilyRows.h"
#include "writer/NoteProperties.h"

namespace pastille::writer {
namespace {

namespace lid = format::lid;
using enum FamilyValue;

constexpr FamilyRow kOwnRows[] = {
    {lid::kNoteColor, Number, &property::NoteColor},
    {lid::kNoteWidth, Number, &property::NoteWidth},
    {lid::kNoteHeight, Number, &property::NoteHeight},
};

constexpr auto kRows =
    SortedRows(kEveryItemRows, kRequestFlagRows, kRoutingFlagRows, kReminderSetRows, kOwnRows);
static_assert(AreUnique(kRows));

}  // namespace

constinit const FamilyTable kNoteTable = kRows;

}  // namespace pastille::writer
