#include "app/WrappedText.h"

#include <QResizeEvent>
#include <QTextDocument>
#include <QTextOption>

#include <algorithm>

namespace pastille::app {

CWrappedText::CWrappedText(QWidget* parent, int mostLines) : QPlainTextEdit(parent), m_mostLines(mostLines)
{
    setReadOnly(true);
    setTabChangesFocus(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    // It looks like a label.
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
    FitHeight();
}

void CWrappedText::ShowText(const QString& text)
{
    setPlainText(text);
    FitHeight();
}

void CWrappedText::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    FitHeight();
}

void CWrappedText::showEvent(QShowEvent* event)
{
    QPlainTextEdit::showEvent(event);
    // Until here the bars came and went without the text being laid out anew.
    QResizeEvent now(viewport()->size(), QSize());
    resizeEvent(&now);
}

void CWrappedText::FitHeight()
{
    // Each step changes the size, and with it the lines.
    if (m_isFitting)
        return;
    m_isFitting = true;
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // The document of a plain text tells its height in lines.
    const int lines = std::max(static_cast<int>(document()->size().height()), 1);
    setFixedHeight(std::min(lines, m_mostLines) * fontMetrics().lineSpacing() + 2);
    if (lines > m_mostLines)
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    m_isFitting = false;
}

}  // namespace pastille::app
