#include "app/MessageBox.h"

#include <QPushButton>
#include <QScreen>
#include <QStyle>

#include <algorithm>

#include "app/Labels.h"
#include "app/ReadingDlg.h"
#include "app/Strings.h"
#include "app/WrappedText.h"
#include "preview/ShownText.h"

namespace pastille::app {
namespace {

// In letters. A message box neither breaks a longer word nor scrolls a longer text.
constexpr qsizetype kLongestWord = 48;
constexpr qsizetype kLongestText = 600;
constexpr int kLettersWide = 64;
constexpr int kMostLines = 16;

bool FitsMessageBox(const QString& text)
{
    qsizetype word = 0;
    for (const QChar letter : text) {
        word = letter.isSpace() ? 0 : word + 1;
        if (word > kLongestWord)
            return false;
    }
    return text.size() <= kLongestText;
}

int Show(QMessageBox& box, const QString& text, const QString& caption)
{
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setWindowTitle(caption);
    return box.exec();
}

QStyle::StandardPixmap PictureOf(QMessageBox::Icon icon)
{
    switch (icon) {
        case QMessageBox::Critical:
            return QStyle::SP_MessageBoxCritical;
        case QMessageBox::Warning:
            return QStyle::SP_MessageBoxWarning;
        default:
            return QStyle::SP_MessageBoxInformation;
    }
}

/// The same box for a text that a message box would cut.
void ShowLong(QWidget* parent, const QString& text, const QString& caption, QMessageBox::Icon icon)
{
    QDialog box(parent);
    box.setWindowTitle(caption);
    QLabel* picture = MakeLabel(&box);
    const int side = box.style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &box);
    picture->setPixmap(box.style()->standardIcon(PictureOf(icon), nullptr, &box).pixmap(side, side));
    const int roomInLines = box.screen()->availableSize().height() / 2 / box.fontMetrics().lineSpacing();
    auto* words = new CWrappedText(&box, std::min(kMostLines, roomInLines));
    words->setAccessibleName(caption);
    words->setMinimumWidth(words->fontMetrics().averageCharWidth() * kLettersWide);
    words->ShowText(text);
    auto* ok = new QPushButton(QStringLiteral("OK"), &box);
    QObject::connect(ok, &QPushButton::clicked, &box, &QDialog::accept);
    ArrangeReading(box, Qt::LeftEdge, picture, words, {ok});
    ok->setFocus();
    box.exec();
}

}  // namespace

void ShowBox(QWidget* parent, const QString& text, const QString& caption, QMessageBox::Icon icon)
{
    const QString shown = preview::ShownText(text);
    if (!FitsMessageBox(shown)) {
        ShowLong(parent, shown, caption, icon);
        return;
    }
    QMessageBox box(icon, QString(), QString(), QMessageBox::Ok, parent);
    Show(box, shown, caption);
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
