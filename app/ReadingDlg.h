#pragma once

#include <QString>

#include <functional>
#include <string_view>

class QDialog;

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

}  // namespace pastille::app
