#include "preview/GridTree.h"

#include <QAction>
#include <QClipboard>
#include <QEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QStyledItemDelegate>

#include <algorithm>

#include "preview/GridModel.h"
#include "preview/ShownText.h"

namespace pastille::preview {
namespace {

/// A row that is laid out costs about 50 bytes; categories after these stay closed until they are opened.
constexpr int kMostExpandedRows = 1'000'000;
constexpr int kAroundText = 4;
constexpr int kMostOpenLines = 12;

/// With line breaks of one kind.
QString StoredTextOf(const QModelIndex& index)
{
    QString text = index.data(CGridModel::kStoredText).toString();
    return text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"))
        .replace(u'\r', u'\n')
        .replace(u'\t', u' ');
}

/// Gives rows some air, and shows a value in a box that holds all of its lines.
class CGridDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, kAroundText);
    }
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                          const QModelIndex& index) const override
    {
        auto* box = new QPlainTextEdit(parent);
        box->setReadOnly(true);
        box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        box->setTabChangesFocus(true);
        box->setAccessibleName(index.siblingAtColumn(CGridModel::kLabel).data().toString());
        return box;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override
    {
        static_cast<QPlainTextEdit*>(editor)->setPlainText(ShownText(StoredTextOf(index)));
    }
    void setModelData(QWidget*, QAbstractItemModel*, const QModelIndex&) const override {}
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override
    {
        const QRect view = editor->parentWidget()->rect();
        QRect place = option.rect & view;
        const int height = LinesOf(index, option) * option.fontMetrics.lineSpacing() + 4 * kAroundText;
        place.setHeight(std::min(std::max(place.height(), height), view.height()));
        if (place.bottom() > view.bottom())
            place.moveBottom(view.bottom());
        editor->setGeometry(place);
    }

private:
    /// Lines that a value has in its cell's width, as far as they are shown at once.
    static int LinesOf(const QModelIndex& index, const QStyleOptionViewItem& option)
    {
        const QString text = StoredTextOf(index).left(kMostOpenLines * 256);
        const QRect room(0, 0, option.rect.width() - 6 * kAroundText, 0);
        const QRect taken = option.fontMetrics.boundingRect(
            room, Qt::TextWrapAnywhere, text.split(u'\n').mid(0, kMostOpenLines).join(u'\n'));
        return std::min(taken.height() / option.fontMetrics.lineSpacing() + 1, kMostOpenLines);
    }
};

}  // namespace

CGridTree::CGridTree(CGridModel& model, QWidget* parent)
    : QTreeView(parent), m_table(&GridTableOf(GridFamily::Contacts))
{
    setModel(&model);
    setItemDelegate(new CGridDelegate(this));
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    header()->setMinimumSectionSize(1);
    header()->setStretchLastSection(true);

    auto* copy = new QAction(QStringLiteral("&Copy"), this);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    addAction(copy);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(copy, &QAction::triggered, this, &CGridTree::Copy);
    connect(this, &QAbstractItemView::activated, this, &CGridTree::OpenValue);
    connect(&model, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex&, int first, int last) { Expand(first, last); });
    connect(&model, &QAbstractItemModel::modelReset, this, [this] { m_expandedRows = 0; });
    FitLabels(*m_table);
}

void CGridTree::FitLabels(const GridTable& table)
{
    m_table = &table;
    setIndentation(fontMetrics().height());
    int width = 0;
    for (const GridRow& row : table.rows) {
        const auto label = QString::fromUtf16(row.label.data(), static_cast<qsizetype>(row.label.size()));
        width = std::max(width, fontMetrics().horizontalAdvance(label));
    }
    const int margin = 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + kAroundText);
    header()->resizeSection(CGridModel::kLabel, width + 2 * indentation() + margin);
}

void CGridTree::changeEvent(QEvent* event)
{
    QTreeView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        FitLabels(*m_table);
}

void CGridTree::keyPressEvent(QKeyEvent* event)
{
    // In place of the view's own copying, which takes the text of the current cell as it is shown.
    if (event->matches(QKeySequence::Copy))
        Copy();
    else
        QTreeView::keyPressEvent(event);
}

void CGridTree::Expand(int first, int last)
{
    for (int row = first; row <= last && m_expandedRows < kMostExpandedRows; ++row) {
        const QModelIndex category = model()->index(row, 0);
        m_expandedRows += model()->rowCount(category);
        expand(category);
    }
}

void CGridTree::drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const bool isCategory = CGridModel::IsCategory(index);
    if (isCategory)
        DrawCategory(*painter, option, index);
    else
        QTreeView::drawRow(painter, option, index);
    painter->save();
    painter->setPen(palette().color(QPalette::Midlight));
    painter->drawLine(option.rect.bottomLeft(), option.rect.bottomRight());
    if (!isCategory) {
        const int x = columnViewportPosition(CGridModel::kValue) - 1;
        painter->drawLine(x, option.rect.top(), x, option.rect.bottom());
    }
    painter->restore();
}

/// Over the whole row: a caption is wider than most labels.
void CGridTree::DrawCategory(QPainter& painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const
{
    const bool isSelected = selectionModel()->isSelected(index);
    const auto group = isActiveWindow() ? QPalette::Active : QPalette::Inactive;
    painter.fillRect(option.rect,
                     palette().brush(group, isSelected ? QPalette::Highlight : QPalette::Button));
    QStyleOptionViewItem caption = option;
    caption.rect.setLeft(columnViewportPosition(CGridModel::kLabel) + indentation());
    caption.state.setFlag(QStyle::State_Selected, isSelected);
    const bool isCurrent = hasFocus() && currentIndex().siblingAtColumn(0) == index;
    caption.state.setFlag(QStyle::State_HasFocus, isCurrent);
    itemDelegate()->paint(&painter, caption, index);
    const QRect branch(caption.rect.left() - indentation(), option.rect.top(), indentation(),
                       option.rect.height());
    drawBranches(&painter, branch, index);
}

void CGridTree::Copy() const
{
    const QModelIndex at = currentIndex();
    if (at.isValid())
        QGuiApplication::clipboard()->setText(at.data(CGridModel::kStoredText).toString());
}

void CGridTree::OpenValue(const QModelIndex& index)
{
    const QModelIndex value = index.siblingAtColumn(CGridModel::kValue);
    if (state() != EditingState && (value.flags() & Qt::ItemIsEditable) != 0)
        edit(value);
}

}  // namespace pastille::preview
