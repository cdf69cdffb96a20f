#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "writer/Component.h"

namespace pastille::preview {

/// What a property grid shows; each has its rows.
enum class GridFamily { Contacts, Tasks, Calendar, Notes, Journals };

/// How a property becomes the text of its row.
enum class GridValue : std::uint8_t {
    Text,          ///< as it is
    Flag,          ///< "Yes" or "No"
    Number,        ///< decimal
    Date,          ///< month/day/year, in UTC
    ReceivedTime,  ///< hour:minute:second:millisecond, in UTC; without a time there is no row
    // A number with names; numbers without one give no text.
    Sensitivity,
    Importance,
    NoteColor,
    TaskStatus,
};

struct GridRow {
    std::u16string_view label;
    const writer::ItemProperty* property;
    GridValue value;
};

/// The rows of a family in the order in which they are shown, at most one of them a ReceivedTime, and what
/// names an item: the first of two properties, else the second; nullptr where there is only one.
struct GridTable {
    std::u16string_view progressCaption;
    const writer::ItemProperty* name;
    const writer::ItemProperty* otherName;
    std::span<const GridRow> rows;
};
const GridTable& GridTableOf(GridFamily family);

/// A text of an item: all of it when it has at most `longest` UTF-16 units, else more than so many from its
/// beginning; "" when `longest` is 0. Of a value of any size a few times as many bytes are read. Raises what
/// the component raises. REQUIRES: longest < 2^29.
std::u16string GridText(writer::IMessageItem& item, const writer::ItemProperty& property,
                        std::size_t longest);

/// The text of an item's row, a long one as GridText gives it; nothing when the row is to be left out. Raises
/// what the component raises.
std::optional<std::u16string> GridValueText(writer::IMessageItem& item, const GridRow& row,
                                            std::size_t longest);

}  // namespace pastille::preview
