#include "preview/ItemModel.h"

#include <QDate>

#include "preview/ShownText.h"

namespace pastille::preview {
namespace {

constexpr const char* kHeaders[CItemRow::kColumns] = {"From", "To", "Subject", "Date (mm/dd/yy)"};

constexpr int kDate = 3;

/// The day of a run's text "month /day /year", as an OLE automation date; 0 when it is none.
double DateOf(std::u16string_view text)
{
    const QDate day = QDate::fromString(ShownLine(text).remove(u' '), QStringLiteral("M/d/yyyy"));
    return day.isValid() ? static_cast<double>(QDate(1899, 12, 30).daysTo(day)) : 0;
}

}  // namespace

void CItemRow::SetText(int column, std::u16string_view text)
{
    const auto at = static_cast<std::size_t>(column);
    const std::uint32_t begin = column == 0 ? 0 : m_ends[at - 1];
    const std::uint32_t old = m_ends[at] - begin;
    m_texts.replace(begin, old, text);
    for (std::size_t later = at; later < m_ends.size(); ++later)
        m_ends[later] += static_cast<std::uint32_t>(text.size()) - old;
}

std::u16string_view CItemRow::Text(int column) const
{
    const auto at = static_cast<std::size_t>(column);
    const std::uint32_t begin = column == 0 ? 0 : m_ends[at - 1];
    return std::u16string_view(m_texts).substr(begin, m_ends[at] - begin);
}

CItemModel::CItemModel(QObject* parent)
    : QAbstractTableModel(parent),
      m_mail(QStringLiteral(":/icons/mail.svg")),
      m_orphan(QStringLiteral(":/icons/tree/orphaned.svg"))
{
}

void CItemModel::Clear()
{
    beginResetModel();
    m_rows = {};
    m_begun = {};
    endResetModel();
}

void CItemModel::Append(std::vector<CItemRow> rows)
{
    if (rows.empty())
        return;
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
    for (CItemRow& row : rows)
        m_rows.push_back(std::move(row));
    endInsertRows();
}

CItemRow* CItemModel::Last()
{
    if (!m_begun.empty())
        return &m_begun.back();
    return m_rows.empty() ? nullptr : &m_rows.back();
}

void CItemModel::TellLastChanged(int column)
{
    if (!m_begun.empty())
        return;
    const QModelIndex cell = index(rowCount() - 1, column);
    emit dataChanged(cell, cell);
}

void CItemModel::SetLast(int column, std::u16string_view text)
{
    if (CItemRow* row = Last()) {
        row->SetText(column, text);
        if (column == kDate)
            row->date = DateOf(text);
        TellLastChanged(column);
    }
}

void CItemModel::MarkLastOrphan()
{
    if (CItemRow* row = Last()) {
        row->isOrphan = 1;
        TellLastChanged(0);
    }
}

int CItemModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int CItemModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : CItemRow::kColumns;
}

QVariant CItemModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const CItemRow& row = Row(index.row());
    switch (role) {
        case Qt::DisplayRole:
        case Qt::ToolTipRole:
            return ShownLine(row.Text(index.column()));
        case Qt::DecorationRole:
            return index.column() == 0 ? QVariant(row.isOrphan != 0 ? m_orphan : m_mail) : QVariant();
        case Qt::AccessibleDescriptionRole:
            return row.isOrphan != 0 ? QStringLiteral("Orphaned mail") : QVariant();
        default:
            return {};
    }
}

QVariant CItemModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section < CItemRow::kColumns)
        return QString::fromLatin1(kHeaders[section]);
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole)
        return static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

}  // namespace pastille::preview
