#include "tests/preview/Panes.h"

#include <QPlainTextEdit>
#include <QTableView>
#include <QTest>
#include <QTreeWidget>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <memory>
#include <stdexcept>

#include "preview/DisplayBody.h"
#include "preview/GridView.h"
#include "preview/ListViewRight.h"
#include "tests/app/Person.h"

namespace pastille::tests {
namespace {

/// In a window, or the window itself where a test shows one pane alone.
template <class Widget>
Widget* InFrame()
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (!window->isVisible())
            continue;
        if (auto* itself = qobject_cast<Widget*>(window))
            return itself;
        if (auto* found = window->findChild<Widget*>())
            return found;
    }
    return nullptr;
}

void AddTexts(const QTreeWidgetItem& node, int level, QStringList& texts)
{
    texts.append(QString(2 * level, u' ') + node.text(0));
    for (int child = 0; child < node.childCount(); ++child)
        AddTexts(*node.child(child), level + 1, texts);
}

}  // namespace

QStringList TreeTexts()
{
    return CPerson::OnUi([] {
        QStringList texts;
        const auto* tree = FolderTree();
        for (int top = 0; tree != nullptr && top < tree->topLevelItemCount(); ++top)
            AddTexts(*tree->topLevelItem(top), 0, texts);
        return texts;
    });
}

QTreeWidget* FolderTree()
{
    return InFrame<QTreeWidget>();
}

QString SelectedNode()
{
    return CPerson::OnUi([] {
        const auto* tree = FolderTree();
        const QTreeWidgetItem* node = tree != nullptr ? tree->currentItem() : nullptr;
        return node != nullptr ? node->text(0) : QString();
    });
}

void ClicksNode(const QString& text)
{
    const bool isThere = CPerson::WaitUntil([&] {
        auto* tree = FolderTree();
        const auto nodes = tree != nullptr ? tree->findItems(text, Qt::MatchExactly | Qt::MatchRecursive)
                                           : QList<QTreeWidgetItem*>();
        if (nodes.empty())
            return false;
        tree->scrollToItem(nodes.front());
        const QPoint at = tree->visualItemRect(nodes.front()).center();
        CPerson::BeginOnUi([tree, at] { QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, at); });
        return true;
    });
    if (!isThere)
        throw std::runtime_error("no node " + text.toStdString() + " in\n" +
                                 TreeTexts().join(u'\n').toStdString());
}

QTableView* ItemTable()
{
    auto* list = InFrame<preview::CListViewRight>();
    return list != nullptr ? list->findChild<QTableView*>() : nullptr;
}

QStringList ItemRows()
{
    CPerson::OnUi([] {});  // clicks on their way are done
    CPerson::WaitUntil([] {
        const auto* list = InFrame<preview::CListViewRight>();
        return list == nullptr || !list->IsFilling();
    });
    return CPerson::OnUi([] {
        QStringList rows;
        const QTableView* table = ItemTable();
        for (int row = 0; table != nullptr && row < table->model()->rowCount(); ++row) {
            QStringList cells;
            for (int column = 0; column < table->model()->columnCount(); ++column)
                cells.append(table->model()->index(row, column).data().toString());
            rows.append(cells.join(QStringLiteral(" | ")));
        }
        return rows;
    });
}

QStringList GridCategories()
{
    CPerson::OnUi([] {});  // clicks on their way are done
    CPerson::WaitUntil([] { return QApplication::activeModalWidget() == nullptr; });
    return CPerson::OnUi([] {
        QStringList names;
        const auto* grid = InFrame<preview::CGridView>();
        const auto* view = grid != nullptr ? grid->findChild<QTreeView*>() : nullptr;
        for (int row = 0; view != nullptr && row < view->model()->rowCount(); ++row)
            names.append(view->model()->index(row, 0).data().toString());
        return names;
    });
}

bool BodyShows(const QString& text)
{
    // The answer comes later: each look sees that of an earlier one, which may come after the last look.
    const auto shown = std::make_shared<QString>();
    return CPerson::WaitUntil([&] {
        auto* body = InFrame<preview::CDisplayBody>();
        if (auto* widget = body->findChild<QPlainTextEdit*>())
            *shown = widget->toPlainText();
        else if (auto* view = body->findChild<QWebEngineView*>())
            view->page()->toPlainText([shown](const QString& now) { *shown = now; });
        return shown->contains(text);
    });
}

}  // namespace pastille::tests
