#include "app/SkinButton.h"

#include <QPainter>
#include <QStyle>

#include "app/DialogUnits.h"
#include "app/SkinPaint.h"

namespace pastille::app {
namespace {

constexpr int kButtonGap = 6;
constexpr int kButtonMargin = 12;

}  // namespace

CSkinButton::CSkinButton(const QString& text, const QString& icon, IconSide side, QWidget* parent)
    : QPushButton(text, parent), m_side(side)
{
    setIcon(QIcon(QStringLiteral(":/icons/%1.svg").arg(icon)));
    setAttribute(Qt::WA_Hover);
}

QSize CSkinButton::sizeHint() const
{
    const QSize shown = fontMetrics().size(Qt::TextShowMnemonic, text());
    const int height = std::max(shown.height(), iconSize().height()) + 12;
    return QSize(shown.width() + iconSize().width() + kButtonGap + 2 * kButtonMargin, height)
        .expandedTo(DialogUnits(*this, 56, 15));
}

void CSkinButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    SkinState state = StateOf(*this);
    state.marked = isDefault();
    PaintSkin(painter, rect(), palette(), state);

    const int textWidth = fontMetrics().size(Qt::TextShowMnemonic, text()).width();
    const int width = textWidth + kButtonGap + iconSize().width();
    QRect content(rect().left() + std::max(kButtonMargin / 2, (rect().width() - width) / 2), rect().top(),
                  width, rect().height());
    if (state.pressed)
        content.translate(0, 1);
    QRect iconArea = content, textArea = content;
    const bool iconLeft = (m_side == IconSide::Left) == (layoutDirection() == Qt::LeftToRight);
    if (iconLeft) {
        iconArea.setWidth(iconSize().width());
        textArea.setLeft(iconArea.right() + 1 + kButtonGap);
    } else {
        iconArea.setLeft(content.right() + 1 - iconSize().width());
        textArea.setWidth(textWidth);
    }
    icon().paint(&painter, iconArea, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);
    style()->drawItemText(&painter, textArea, Qt::AlignCenter | Qt::TextShowMnemonic, palette(), isEnabled(),
                          text(), QPalette::ButtonText);
}

}  // namespace pastille::app
