#include "preview/DisplayBody.h"

#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace pastille::preview {

CDisplayBody::CDisplayBody(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("CDisplayBody"));
    auto* body = new QPlainTextEdit(this);
    body->setReadOnly(true);
    body->setAccessibleName(QStringLiteral("Body"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(body);
    setFocusProxy(body);
}

}  // namespace pastille::preview
