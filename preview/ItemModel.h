#pragma once

#include <QAbstractTableModel>
#include <QIcon>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pastille::preview {

/// A row of the item list. All texts of a row stand in one, so that a row costs some 70 bytes beside them.
class CItemRow {
public:
    static constexpr int kColumns = 4;  ///< From, To, Subject, Date

    /// Replaces the text of a column.
    void SetText(int column, std::u16string_view text);
    std::u16string_view Text(int column) const;
    void ShrinkToFit() { m_texts.shrink_to_fit(); }
    /// UTF-16 units of all its texts.
    std::size_t TextSize() const { return m_texts.size(); }

    double date = 0;            ///< OLE automation date, for sorting; 0 for none
    std::uint8_t isOrphan = 0;  ///< the mail has lost its folder

private:
    std::u16string m_texts;
    std::array<std::uint32_t, kColumns> m_ends{};
};

/// The rows of the item list in store order: row n is the item of number n + 1.
class CItemModel final : public QAbstractTableModel {
    Q_OBJECT

public:
    explicit CItemModel(QObject* parent);

    void Clear();
    void Append(std::vector<CItemRow> rows);
    /// Begins a row that comes up with ShowBegun: each call of that costs a look at all rows.
    void Begin() { m_begun.emplace_back(); }
    void ShowBegun() { Append(std::exchange(m_begun, {})); }
    /// Sets a text of the row appended or begun last; nothing when there is none.
    void SetLast(int column, std::u16string_view text);
    void MarkLastOrphan();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    const CItemRow& Row(int row) const { return m_rows[static_cast<std::size_t>(row)]; }

private:
    CItemRow* Last();
    void TellLastChanged(int column);

    std::vector<CItemRow> m_rows;
    std::vector<CItemRow> m_begun;
    QIcon m_mail;
    QIcon m_orphan;
};

}  // namespace pastille::preview
