#include "app/MessageBox.h"

#include "app/Strings.h"

namespace pastille::app {
namespace {

int Show(QMessageBox& box, const QString& text, const QString& caption)
{
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setWindowTitle(caption);
    return box.exec();
}

}  // namespace

void ShowBox(QWidget* parent, const QString& text, const QString& caption, QMessageBox::Icon icon)
{
    QMessageBox box(icon, QString(), QString(), QMessageBox::Ok, parent);
    Show(box, text, caption);
}

void ShowBox(QWidget* parent, std::u16string_view text, std::u16string_view caption, QMessageBox::Icon icon)
{
    ShowBox(parent, Text(text), Text(caption), icon);
}

bool AskYesNo(QWidget* parent, std::u16string_view text, std::u16string_view caption)
{
    QMessageBox box(QMessageBox::Question, QString(), QString(), QMessageBox::Yes | QMessageBox::No, parent);
    box.setEscapeButton(QMessageBox::No);
    return Show(box, Text(text), Text(caption)) == QMessageBox::Yes;
}

}  // namespace pastille::app
