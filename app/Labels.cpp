#include "app/Labels.h"

namespace pastille::app {

QLabel* MakeLabel(QWidget* parent, const QString& text)
{
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    return label;
}

QLabel* MakeBoldLabel(QWidget* parent, const QString& text)
{
    QLabel* label = MakeLabel(parent, text);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

}  // namespace pastille::app
