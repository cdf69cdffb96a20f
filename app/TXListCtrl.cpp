#include "app/TXListCtrl.h"

#include <QHeaderView>
#include <QMouseEvent>

#include <algorithm>

#include "app/DialogUnits.h"
#include "app/HostPath.h"
#include "app/Strings.h"

namespace pastille::app {

int CFileListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_files.size()) + (m_notice.isEmpty() ? 0 : 1);
}

QVariant CFileListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || role != Qt::DisplayRole)
        return {};
    const auto file = File(index);
    return file ? ShownPath(*file) : m_notice;
}

QVariant CFileListModel::headerData(int, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return Text(strings::kFileName);
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole)
        return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

void CFileListModel::Append(std::vector<std::filesystem::path> files)
{
    if (files.empty())
        return;
    const int first = static_cast<int>(m_files.size());
    beginInsertRows({}, first, first + static_cast<int>(files.size()) - 1);
    std::ranges::move(files, std::back_inserter(m_files));
    endInsertRows();
}

void CFileListModel::Prepend(std::vector<std::filesystem::path> files)
{
    if (files.empty())
        return;
    beginInsertRows({}, 0, static_cast<int>(files.size()) - 1);
    std::ranges::move(files, std::front_inserter(m_files));
    endInsertRows();
}

void CFileListModel::AppendNotice(const QString& text)
{
    const int row = static_cast<int>(m_files.size());
    beginInsertRows({}, row, row);
    m_notice = text;
    endInsertRows();
}

void CFileListModel::Clear()
{
    beginResetModel();
    m_files.clear();
    m_notice.clear();
    endResetModel();
}

std::optional<std::filesystem::path> CFileListModel::File(const QModelIndex& index) const
{
    const auto row = static_cast<std::size_t>(index.row());
    if (!index.isValid() || row >= m_files.size())
        return std::nullopt;
    return m_files[row];
}

CTXListCtrl::CTXListCtrl(int columnUnits, QWidget* parent) : QTableView(parent), m_columnUnits(columnUnits)
{
    setObjectName(QStringLiteral("files"));
    setModel(&m_files);
    // Unlike other views, this one does not go over all its rows whenever some
    // come on top.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setMinimumSectionSize(0);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 2);
    verticalHeader()->hide();
    setShowGrid(false);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    setSelectionBehavior(SelectRows);
    setTextElideMode(Qt::ElideMiddle);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setHorizontalScrollMode(ScrollPerPixel);
    setAccessibleName(Text(strings::kFileName));
    horizontalHeader()->setStretchLastSection(false);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setSectionsClickable(false);
    horizontalHeader()->setHighlightSections(false);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &CTXListCtrl::TellChoice);
    FitColumn();
}

void CTXListCtrl::Append(std::vector<std::filesystem::path> files)
{
    Measure(files);
    m_files.Append(std::move(files));
}

void CTXListCtrl::Prepend(std::vector<std::filesystem::path> files)
{
    Measure(files);
    m_files.Prepend(std::move(files));
}

void CTXListCtrl::Clear()
{
    m_files.Clear();
    m_longest = 0;
    m_widest = 0;
    FitColumn();
    emit NoneChosen();
}

/// The first key that moves chooses the row that has the focus already.
void CTXListCtrl::keyPressEvent(QKeyEvent* event)
{
    const bool moves = event->key() == Qt::Key_Down || event->key() == Qt::Key_Up;
    if (moves && !selectionModel()->hasSelection() && currentIndex().isValid())
        setCurrentIndex(currentIndex());
    else
        QTableView::keyPressEvent(event);
}

void CTXListCtrl::mousePressEvent(QMouseEvent* event)
{
    QTableView::mousePressEvent(event);
    if (!indexAt(event->position().toPoint()).isValid())
        clearSelection();
}

void CTXListCtrl::resizeEvent(QResizeEvent* event)
{
    QTableView::resizeEvent(event);
    FitColumn();
}

/// Laying out the text of every row would hold the window up; the longest one
/// tells enough.
void CTXListCtrl::Measure(const std::vector<std::filesystem::path>& files)
{
    const auto size = [](const std::filesystem::path& file) { return file.native().size(); };
    const auto longest = std::ranges::max_element(files, {}, size);
    if (longest == files.end() || size(*longest) <= m_longest)
        return;
    m_longest = size(*longest);
    m_widest = fontMetrics().horizontalAdvance(ShownPath(*longest)) + 24;
    FitColumn();
}

void CTXListCtrl::FitColumn()
{
    constexpr int widestSection = 1'000'000;
    const int width = std::max({DialogUnits(*this, m_columnUnits, 0).width(), viewport()->width(), m_widest});
    horizontalHeader()->resizeSection(0, std::min(width, widestSection));
}

void CTXListCtrl::TellChoice()
{
    const QModelIndexList chosen = selectionModel()->selectedIndexes();
    const auto file = chosen.isEmpty() ? std::nullopt : m_files.File(chosen.front());
    if (file)
        emit Chosen(*file);
    else
        emit NoneChosen();
}

}  // namespace pastille::app
