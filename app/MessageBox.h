#pragma once

#include <QMessageBox>

#include <string_view>

class QWidget;

namespace pastille::app {

/// A box with one button, shown until the user closes it. The text is never markup; a long one is broken
/// where it must be and scrolls. Of what could mislead in it only line breaks are shown as they are.
void ShowBox(QWidget* parent, const QString& text, const QString& caption, QMessageBox::Icon icon);
void ShowBox(QWidget* parent, std::u16string_view text, std::u16string_view caption, QMessageBox::Icon icon);

/// A question with Yes and No. Closing it is No.
bool AskYesNo(QWidget* parent, std::u16string_view text, std::u16string_view caption);

}  // namespace pastille::app
