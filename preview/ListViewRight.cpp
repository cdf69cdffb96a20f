#include "preview/ListViewRight.h"

#include <QTreeWidget>
#include <QVBoxLayout>

namespace pastille::preview {

CListViewRight::CListViewRight(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CListViewRight"));
    auto* list = new QTreeWidget(this);
    list->setHeaderHidden(true);
    list->setRootIsDecorated(false);
    list->setAccessibleName(QStringLiteral("Items"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(list);
    setFocusProxy(list);
}

}  // namespace pastille::preview
