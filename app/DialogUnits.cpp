#include "app/DialogUnits.h"

#include <QFontMetrics>
#include <QWidget>

namespace pastille::app {

QSize DialogUnits(const QWidget& widget, int width, int height)
{
    const QFontMetrics metrics(widget.font());
    const QString letters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    const int average = (metrics.horizontalAdvance(letters) / 26 + 1) / 2;
    return {(width * average + 2) / 4, (height * metrics.height() + 4) / 8};
}

}  // namespace pastille::app
