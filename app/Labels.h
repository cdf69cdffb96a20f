#pragma once

#include <QLabel>

namespace pastille::app {

/// A label of the parent's, whose text is never markup.
QLabel* MakeLabel(QWidget* parent, const QString& text = QString());
QLabel* MakeBoldLabel(QWidget* parent, const QString& text);

}  // namespace pastille::app
