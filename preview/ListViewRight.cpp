#include "preview/ListViewRight.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>
#include <vector>

#include "preview/DlgLoading.h"
#include "preview/ItemModel.h"
#include "preview/ItemOrder.h"
#include "preview/ItemReader.h"
#include "preview/ShownText.h"

namespace pastille::preview {
namespace {

constexpr int kWidths[CItemRow::kColumns] = {212, 212, 212, 127};
constexpr int kImageSide = 16;
constexpr unsigned kFirstCell = 1;
constexpr unsigned kLastCell = 4;

}  // namespace

CListViewRight::CListViewRight(QWidget* parent)
    : QWidget(parent), m_items(new CItemModel(this)), m_order(new CItemOrder(this)), m_filling(*this)
{
    setObjectName(QStringLiteral("CListViewRight"));
    m_order->setSourceModel(m_items);
    MakeTable();
    MakeFindBox();
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addWidget(m_find);
    column->addWidget(m_table);
    setFocusProxy(m_table);
    m_loading = new CDlgLoading(this);
}

CListViewRight::~CListViewRight() = default;

void CListViewRight::MakeTable()
{
    m_table = new QTableView(this);
    m_table->setAccessibleName(QStringLiteral("Items"));
    m_table->setModel(m_order);
    m_table->installEventFilter(this);
    m_table->viewport()->installEventFilter(this);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false);
    m_table->setWordWrap(false);
    m_table->setIconSize({kImageSide, kImageSide});
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(std::max(fontMetrics().height(), kImageSide) + 6);
    QHeaderView* header = m_table->horizontalHeader();
    header->setHighlightSections(false);
    header->setSortIndicatorClearable(true);
    header->setSortIndicator(-1, Qt::AscendingOrder);
    m_table->setSortingEnabled(true);
    for (int column = 0; column < CItemRow::kColumns; ++column)
        header->resizeSection(column, kWidths[column]);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        const QModelIndexList rows = m_table->selectionModel()->selectedRows();
        if (!rows.empty())
            Choose(rows.front());
    });
    connect(m_table->verticalScrollBar(), &QAbstractSlider::actionTriggered, this,
            [this] { m_isFollowing = false; });
}

/// The first press of an arrow chooses the row that the keyboard stands on, not the one after it; Home and
/// End go to the first and the last row, not column.
bool CListViewRight::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_table->viewport() && event->type() == QEvent::Resize)
        FitColumns();
    const bool isPress = watched == m_table && event->type() == QEvent::KeyPress;
    const int key = isPress ? static_cast<QKeyEvent*>(event)->key() : 0;
    const bool isFirst =
        (key == Qt::Key_Down || key == Qt::Key_Up) && !m_table->selectionModel()->hasSelection();
    if ((!isFirst && key != Qt::Key_Home && key != Qt::Key_End) || m_order->rowCount() == 0)
        return QWidget::eventFilter(watched, event);
    if (isFirst)
        m_table->selectRow(std::max(m_table->currentIndex().row(), 0));
    else
        m_table->selectRow(key == Qt::Key_Home ? 0 : m_order->rowCount() - 1);
    return true;
}

/// The columns fill the list, in the proportion that they have.
void CListViewRight::FitColumns()
{
    QHeaderView* header = m_table->horizontalHeader();
    const int before = header->length();
    int left = m_table->viewport()->width();
    if (before <= 0 || left < CItemRow::kColumns * header->minimumSectionSize())
        return;
    const double scale = static_cast<double>(left) / before;
    for (int column = 0; column + 1 < CItemRow::kColumns; ++column) {
        header->resizeSection(column, static_cast<int>(header->sectionSize(column) * scale));
        left -= header->sectionSize(column);
    }
    header->resizeSection(CItemRow::kColumns - 1, left);
}

void CListViewRight::MakeFindBox()
{
    m_find = new QLineEdit(this);
    m_find->setPlaceholderText(QStringLiteral("Find in this list (Ctrl+F)"));
    m_find->setAccessibleName(QStringLiteral("Find in this list"));
    m_find->setClearButtonEnabled(true);
    connect(m_find, &QLineEdit::textChanged, this, &CListViewRight::Look);
    connect(m_find, &QLineEdit::returnPressed, this, [this] {
        m_table->setFocus();
        m_table->selectRow(0);
    });
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, m_find,
            [this] { m_find->setFocus(Qt::ShortcutFocusReason); });
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), m_find, nullptr, nullptr, Qt::WidgetShortcut),
            &QShortcut::activated, this, [this] {
                m_find->clear();
                m_table->setFocus();
            });
}

/// A row that is no longer looked for leaves none chosen in its place, as the table would.
void CListViewRight::Look(const QString& text)
{
    QItemSelectionModel* selection = m_table->selectionModel();
    const QModelIndexList before = selection->selectedRows();
    const QPersistentModelIndex chosen =
        before.empty() ? QModelIndex() : m_order->mapToSource(before.front());
    {
        const QSignalBlocker choosesNothing(this);
        m_order->Look(text);
        if (!m_order->mapFromSource(chosen).isValid())
            selection->clear();
    }
    if (const QModelIndex still = m_order->mapFromSource(chosen); still.isValid())
        m_table->scrollTo(still);
}

void CListViewRight::Clear()
{
    m_filling.Cancel();
    EndFill();
    m_folderKey.clear();
    m_find->clear();
    m_table->sortByColumn(-1, Qt::AscendingOrder);
    m_items->Clear();
    m_isFollowing = true;
}

void CListViewRight::SetCell(unsigned cell, const std::u16string& text)
{
    if (cell < kFirstCell || cell > kLastCell)
        return;
    if (cell == kFirstCell)
        m_items->Begin();
    m_items->SetLast(static_cast<int>(cell - kFirstCell),
                     std::u16string_view(text).substr(0, kLongestLine + 1));
}

void CListViewRight::MarkOrphan()
{
    m_items->MarkLastOrphan();
}

void CListViewRight::ShowRows()
{
    m_items->ShowBegun();
    FollowRows();
}

void CListViewRight::Fill(std::shared_ptr<CPreviewStore> store, const std::u16string& folderKey)
{
    Clear();
    m_folderKey = folderKey;
    m_isFilling = true;
    m_loading->Begin();
    const ItemReading reading{std::move(store), folderKey,
                              [this](std::vector<CItemRow> rows) {
                                  m_items->Append(std::move(rows));
                                  FollowRows();
                              },
                              [this] {
                                  EndFill();
                                  emit Filled();
                              }};
    if (!m_filling.Start([reading](IJobOwner& owner) { ReadItems(reading, owner); }))
        reading.complete();
}

void CListViewRight::EndFill()
{
    m_isFilling = false;
    m_loading->End();
}

void CListViewRight::Choose(const QModelIndex& row)
{
    m_isFollowing = false;
    if (!m_folderKey.empty())
        emit ItemChosen(m_folderKey, m_order->mapToSource(row).row() + 1);
}

void CListViewRight::FollowRows()
{
    if (m_isFollowing)
        m_table->scrollToBottom();
}

}  // namespace pastille::preview
