#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pastille::preview {

/// One item of a property grid: its name and a value for each row of its table, end to end in one text, as a
/// grid has millions of values and most are empty.
class CGridItem {
public:
    /// A value longer than `longest` UTF-16 units is cut, with an ellipsis at its end; nothing
    /// is kept of it when that is 0.
    CGridItem(std::u16string_view name, std::size_t longest) { Add(name, longest); }
    void Add(std::u16string_view value, std::size_t longest);
    /// The row that has no value because it is left out; there is at most one.
    void LeaveOut();

    std::u16string_view Name() const { return Part(0); }
    /// Rows that are shown.
    int RowCount() const;
    /// The row of the table that is shown as that row. REQUIRES: shown < RowCount().
    int TableRow(int shown) const { return shown < m_leftOut ? shown : shown + 1; }
    /// REQUIRES: a row of the table.
    std::u16string_view Value(int tableRow) const { return Part(static_cast<std::size_t>(tableRow) + 1); }
    /// UTF-16 units that it keeps.
    std::size_t TextSize() const { return m_text.size(); }
    void ShrinkToFit();

private:
    std::u16string_view Part(std::size_t number) const;
    int TableRowCount() const { return static_cast<int>(m_ends.size()) - 1; }

    static constexpr int kNone = 0x7FFF'FFFF;
    std::u16string m_text;
    std::vector<std::uint32_t> m_ends;  ///< in the text: of the name, then of each value
    int m_leftOut = kNone;
};

}  // namespace pastille::preview
