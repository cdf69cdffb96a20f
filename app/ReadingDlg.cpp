#include "app/ReadingDlg.h"

#include "app/Labels.h"
#include "app/Strings.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace pastille::app {
namespace {

// Of the text, in letters and lines: as shown at first, as far as the screen has room, and at least.
constexpr int kLettersWide = 76;
constexpr int kLinesHigh = 23;
constexpr int kFewestLetters = 32;
constexpr int kFewestLines = 6;
constexpr int kLinesAround = 7;  // for heading and buttons

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
    QLabel* label = MakeBoldLabel(&dialog, heading);
    label->setWordWrap(true);

    auto* box = new QPlainTextEdit(&dialog);
    box->setReadOnly(true);
    box->setTabChangesFocus(true);
    box->setAccessibleName(textName);
    box->setPlainText(text);
    const int letter = box->fontMetrics().averageCharWidth();
    const int line = box->fontMetrics().lineSpacing();
    box->setMinimumSize(letter * kFewestLetters, line * kFewestLines);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(NewButton(dialog, first));
    buttons->addWidget(NewButton(dialog, second));

    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(label);
    layout->addWidget(box, 1);
    layout->addLayout(buttons);
    const QSize wanted(letter * kLettersWide, line * (kLinesHigh + kLinesAround));
    dialog.resize(wanted.boundedTo(dialog.screen()->availableSize() * 9 / 10));
}

}  // namespace pastille::app
