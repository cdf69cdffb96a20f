#include "preview/GridView.h"

#include <QTreeWidget>
#include <QVBoxLayout>

namespace pastille::preview {

CGridView::CGridView(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CGridView"));
    auto* grid = new QTreeWidget(this);
    grid->setHeaderHidden(true);
    grid->setAccessibleName(QStringLiteral("Properties"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(grid);
    setFocusProxy(grid);
}

}  // namespace pastille::preview
