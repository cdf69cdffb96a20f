#include "preview/ItemOrder.h"

#include "preview/ItemModel.h"

namespace pastille::preview {
namespace {

constexpr int kDateColumn = 3;

QStringView View(std::u16string_view text)
{
    return {text.data(), static_cast<qsizetype>(text.size())};
}

}  // namespace

CItemOrder::CItemOrder(QObject* parent) : QSortFilterProxyModel(parent) {}

void CItemOrder::Look(const QString& text)
{
    m_text = text;
    invalidateRowsFilter();
}

bool CItemOrder::filterAcceptsRow(int row, const QModelIndex&) const
{
    if (m_text.isEmpty())
        return true;
    const CItemRow& item = static_cast<const CItemModel*>(sourceModel())->Row(row);
    for (int column = 0; column < CItemRow::kColumns; ++column) {
        if (View(item.Text(column)).contains(m_text, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

/// Straight from the rows: a hundred thousand of them are compared without a variant each.
bool CItemOrder::lessThan(const QModelIndex& left, const QModelIndex& right) const
{
    const auto* model = static_cast<const CItemModel*>(sourceModel());
    const CItemRow& one = model->Row(left.row());
    const CItemRow& other = model->Row(right.row());
    if (left.column() == kDateColumn)
        return one.date < other.date;
    return View(one.Text(left.column())).compare(View(other.Text(left.column())), Qt::CaseInsensitive) < 0;
}

}  // namespace pastille::preview
