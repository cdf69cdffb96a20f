#include "app/ReadingDlg.h"

#include "app/Strings.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace pastille::app {
namespace {

constexpr int kLettersWide = 72;
constexpr int kLinesHigh = 23;

QPushButton* NewButton(QDialog& dialog, const ReadingButton& button)
{
    auto* widget = new QPushButton(Text(button.text), &dialog);
    widget->setAutoDefault(false);
    widget->setShortcut(QKeySequence(Qt::ALT | button.key));
    QObject::connect(widget, &QPushButton::clicked, &dialog, button.action);
    return widget;
}

}  // namespace

void BuildReadingDialog(QDialog& dialog, const QString& heading, const QString& text, const QString& textName,
                        const ReadingButton& first, const ReadingButton& second)
{
    auto* label = new QLabel(&dialog);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setText(heading);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);

    auto* box = new QPlainTextEdit(&dialog);
    box->setReadOnly(true);
    box->setTabChangesFocus(true);
    box->setAccessibleName(textName);
    box->setPlainText(text);
    const QFontMetrics metrics = box->fontMetrics();
    box->setMinimumSize(metrics.averageCharWidth() * kLettersWide, metrics.lineSpacing() * kLinesHigh);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(NewButton(dialog, first));
    buttons->addWidget(NewButton(dialog, second));

    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(label);
    layout->addWidget(box, 1);
    layout->addLayout(buttons);
}

}  // namespace pastille::app
