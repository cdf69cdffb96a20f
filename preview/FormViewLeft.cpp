#include "preview/FormViewLeft.h"

#include <QGroupBox>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace pastille::preview {

CFormViewLeft::CFormViewLeft(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CFormViewLeft"));
    auto* group = new QGroupBox(QStringLiteral("Folder list"), this);
    auto* tree = new QTreeWidget(group);
    tree->setHeaderHidden(true);
    tree->setAccessibleName(group->title());
    (new QVBoxLayout(group))->addWidget(tree);
    (new QVBoxLayout(this))->addWidget(group);
    setFocusProxy(tree);
}

}  // namespace pastille::preview
