#include "preview/GridModel.h"

#include <QFont>

#include <iterator>
#include <utility>

#include "preview/ShownText.h"

namespace pastille::preview {
namespace {

/// Of a tip; more is seen by opening the value.
constexpr qsizetype kLongestTip = 2000;

QString TipOf(std::u16string_view text)
{
    QString tip = QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
    if (tip.size() > kLongestTip) {
        tip.truncate(kLongestTip);
        tip.append(u'…');
    }
    // A tip would take what looks like markup for markup.
    return QStringLiteral("<p style='white-space:pre-wrap'>") + ShownText(std::move(tip)).toHtmlEscaped() +
           QStringLiteral("</p>");
}

}  // namespace

CGridModel::CGridModel(QObject* parent)
    : QAbstractItemModel(parent), m_table(&GridTableOf(GridFamily::Contacts))
{
}

void CGridModel::Clear(GridFamily family)
{
    beginResetModel();
    m_table = &GridTableOf(family);
    m_items = {};
    m_waiting = {};
    endResetModel();
}

void CGridModel::Append(std::vector<CGridItem> items)
{
    m_waiting.insert(m_waiting.end(), std::make_move_iterator(items.begin()),
                     std::make_move_iterator(items.end()));
    if (m_waiting.size() >= m_items.size())
        Finish();
}

void CGridModel::Finish()
{
    if (m_waiting.empty())
        return;
    const auto first = static_cast<int>(m_items.size());
    beginInsertRows({}, first, first + static_cast<int>(m_waiting.size()) - 1);
    m_items.insert(m_items.end(), std::make_move_iterator(m_waiting.begin()),
                   std::make_move_iterator(m_waiting.end()));
    m_waiting.clear();
    endInsertRows();
}

QModelIndex CGridModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    // A row knows its category by a number from 1.
    const quintptr id = parent.isValid() ? static_cast<quintptr>(parent.row()) + 1 : 0;
    return createIndex(row, column, id);
}

QModelIndex CGridModel::parent(const QModelIndex& index) const
{
    if (!index.isValid() || IsCategory(index))
        return {};
    return createIndex(static_cast<int>(index.internalId()) - 1, 0, quintptr{0});
}

int CGridModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return static_cast<int>(m_items.size());
    return IsCategory(parent) && parent.column() == kLabel ? ItemOf(parent).RowCount() : 0;
}

int CGridModel::columnCount(const QModelIndex&) const
{
    return kColumnCount;
}

bool CGridModel::hasChildren(const QModelIndex& parent) const
{
    return rowCount(parent) > 0;
}

Qt::ItemFlags CGridModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return {};
    constexpr Qt::ItemFlags kShown = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (IsCategory(index))
        return kShown;
    const bool canOpen = index.column() == kValue && !TextOf(index).empty();
    return kShown | Qt::ItemNeverHasChildren | (canOpen ? Qt::ItemIsEditable : Qt::NoItemFlags);
}

QVariant CGridModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const bool isCategory = IsCategory(index);
    switch (role) {
        case Qt::DisplayRole:
            if (index.column() == kLabel)
                return ShownLine(isCategory ? TextOf(index) : LabelOf(index));
            return isCategory ? QVariant() : ShownLine(TextOf(index));
        case Qt::ToolTipRole: {
            const bool isLabel = index.column() == kLabel && !isCategory;
            const auto text = isLabel ? LabelOf(index) : TextOf(index);
            return text.empty() ? QVariant() : TipOf(text);
        }
        case Qt::FontRole: {
            QFont font;
            font.setBold(true);
            return isCategory ? font : QVariant();
        }
        case kStoredText: {
            const auto text = TextOf(index);
            return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
        }
        default:
            return {};
    }
}

const CGridItem& CGridModel::ItemOf(const QModelIndex& index) const
{
    const auto number = IsCategory(index) ? static_cast<quintptr>(index.row()) : index.internalId() - 1;
    return m_items[number];
}

std::u16string_view CGridModel::LabelOf(const QModelIndex& index) const
{
    const int row = ItemOf(index).TableRow(index.row());
    return m_table->rows[static_cast<std::size_t>(row)].label;
}

std::u16string_view CGridModel::TextOf(const QModelIndex& index) const
{
    const CGridItem& item = ItemOf(index);
    return IsCategory(index) ? item.Name() : item.Value(item.TableRow(index.row()));
}

}  // namespace pastille::preview
