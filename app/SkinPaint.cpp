#include "app/SkinPaint.h"

#include <QAbstractButton>
#include <QPainter>
#include <QPalette>

namespace pastille::app {

SkinState StateOf(const QAbstractButton& button)
{
    return {.enabled = button.isEnabled(),
            .hovered = button.isEnabled() && button.underMouse(),
            .pressed = button.isDown(),
            .focused = button.hasFocus(),
            .marked = button.isChecked()};
}

QColor Between(const QColor& from, const QColor& to, double part)
{
    const auto mix = [part](float left, float right) {
        return static_cast<float>(left + (right - left) * part);
    };
    return QColor::fromRgbF(mix(from.redF(), to.redF()), mix(from.greenF(), to.greenF()),
                            mix(from.blueF(), to.blueF()));
}

void PaintSkin(QPainter& painter, const QRect& area, const QPalette& palette, const SkinState& state)
{
    const auto group = state.enabled ? QPalette::Active : QPalette::Disabled;
    const QColor button = palette.color(group, QPalette::Button);
    const QColor text = palette.color(group, QPalette::ButtonText);
    const QColor accent = palette.color(QPalette::Active, QPalette::Highlight);
    QColor face = button;
    if (state.marked && state.enabled)
        face = Between(face, accent, 0.14);
    if (state.pressed)
        face = Between(face, text, 0.16);
    else if (state.hovered)
        face = Between(face, accent, 0.12);
    QColor border = Between(button, text, state.enabled ? 0.35 : 0.2);
    if (state.enabled && (state.marked || state.hovered))
        border = Between(border, accent, 0.7);

    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(border);
    painter.setBrush(face);
    painter.drawRoundedRect(QRectF(area).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    if (state.focused) {
        painter.setPen(QPen(accent, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(area).adjusted(1, 1, -1, -1), 4, 4);
    }
}

}  // namespace pastille::app
