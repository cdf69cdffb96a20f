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
constexpr int kReadingLettersWide = 76;
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

    ArrangeReading(dialog, Qt::TopEdge, label, box, {NewButton(dialog, first), NewButton(dialog, second)});
    const QSize wanted(letter * kReadingLettersWide, line * (kLinesHigh + kLinesAround));
    dialog.resize(wanted.boundedTo(dialog.screen()->availableSize() * 9 / 10));
}

void ArrangeReading(QDialog& dialog, Qt::Edge side, QLabel* head, QPlainTextEdit* text,
                    const QList<QPushButton*>& buttons)
{
    const bool isAbove = side == Qt::TopEdge;
    auto* reading = new QBoxLayout(isAbove ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    reading->addWidget(head, 0, isAbove ? Qt::Alignment() : Qt::AlignTop);
    if (!isAbove)
        reading->addSpacing(8);
    reading->addWidget(text, 1);
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (QPushButton* button : buttons)
        row->addWidget(button);
    auto* all = new QVBoxLayout(&dialog);
    all->addLayout(reading, 1);
    all->addLayout(row);
}

}  // namespace pastille::app
