#pragma once

#include <QStringList>

#include <string>

class QTableView;
class QTreeWidget;

namespace pastille::tests {

// What a person sees and does in the frame's panes. All wait for what they need, as CPerson does.

/// The folder tree from the top, two blanks a level.
QStringList TreeTexts();
/// On the windows' thread only.
QTreeWidget* FolderTree();
/// Text of the selected node.
QString SelectedNode();
/// Clicks on the node of that text, opening what is above it.
void ClicksNode(const QString& text);

/// The rows of the item list as they stand, cells joined by " | ". Waits until no more come.
QStringList ItemRows();
/// The item list; on the windows' thread only. Null when the grid is shown.
QTableView* ItemTable();

/// Names of the categories of the property grid; nothing when the list is shown.
QStringList GridCategories();
/// Waits until the body pane shows a text that holds this one.
bool BodyShows(const QString& text);

}  // namespace pastille::tests
