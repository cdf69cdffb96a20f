#include "app/SkinRadioButton.h"

#include <QPainter>
#include <QStyle>

#include "app/SkinPaint.h"

namespace pastille::app {
namespace {

constexpr int kRing = 14;
constexpr int kRadioMargin = 12;
constexpr int kGap = 10;

}  // namespace

CSkinRadioButton::CSkinRadioButton(const QString& text, QSize smallest, QWidget* parent)
    : QRadioButton(text, parent), m_smallest(smallest)
{
    setAttribute(Qt::WA_Hover);
}

QSize CSkinRadioButton::sizeHint() const
{
    const QSize shown = fontMetrics().size(Qt::TextShowMnemonic, text());
    return QSize(shown.width() + kRing + kGap + 2 * kRadioMargin, std::max(shown.height(), kRing) + 12)
        .expandedTo(m_smallest);
}

void CSkinRadioButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const SkinState state = StateOf(*this);
    PaintSkin(painter, rect(), palette(), state);

    const auto group = state.enabled ? QPalette::Active : QPalette::Disabled;
    const QColor accent = palette().color(group, QPalette::Highlight);
    const QRect ring = QStyle::visualRect(layoutDirection(), rect(),
                                          QRect(kRadioMargin, (height() - kRing) / 2, kRing, kRing));
    painter.setPen(QPen(state.marked ? accent : palette().color(group, QPalette::ButtonText), 1.4));
    painter.setBrush(palette().color(group, QPalette::Base));
    painter.drawEllipse(QRectF(ring).adjusted(1, 1, -1, -1));
    if (state.marked) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(accent);
        painter.drawEllipse(QRectF(ring).adjusted(4, 4, -4, -4));
    }
    const int textLeft = kRadioMargin + kRing + kGap;
    const QRect textArea = QStyle::visualRect(
        layoutDirection(), rect(), QRect(textLeft, 0, width() - textLeft - kRadioMargin, height()));
    const Qt::Alignment side = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter);
    style()->drawItemText(&painter, textArea, static_cast<int>(side) | Qt::TextShowMnemonic, palette(),
                          isEnabled(), text(), QPalette::ButtonText);
}

}  // namespace pastille::app
