#pragma once

#include <QList>
#include <QString>

#include <functional>
#include <string_view>

class QDialog;
class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace pastille::app {

/// A button under a text to read, with the key that stands in for a click on it while Alt is down.
struct ReadingButton {
    std::u16string_view text;
    Qt::Key key;
    std::function<void()> action;
};

/// Fills a dialog with a heading, a text to read and two buttons. Nothing is pressed by Enter alone; the
/// second button is what closing the dialog means.
void BuildReadingDialog(QDialog& dialog, const QString& heading, const QString& text, const QString& textName,
                        const ReadingButton& first, const ReadingButton& second);

/// Lays out what every such dialog has: something to see above the text or on its left, and the buttons
/// below.
void ArrangeReading(QDialog& dialog, Qt::Edge side, QLabel* head, QPlainTextEdit* text,
                    const QList<QPushButton*>& buttons);

}  // namespace pastille::app
