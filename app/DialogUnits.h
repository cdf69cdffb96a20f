#pragma once

#include <QSize>

class QWidget;

namespace pastille::app {

/// A size in dialog units (a quarter of the average width of a character, an eighth of its height) as pixels
/// for the widget's font.
QSize DialogUnits(const QWidget& widget, int width, int height);

}  // namespace pastille::app
