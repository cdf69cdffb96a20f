#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace pastille::tests {

/// The name that a screen reader says for a widget.
QString NameOf(QWidget* widget);

/// What keeps the window in front from being fit for everyone: something that takes the focus and has no
/// name, a label whose name hides its text, a text or button that is cut, a text that would be taken as
/// markup.
QStringList AccessibilityFaults();

}  // namespace pastille::tests
