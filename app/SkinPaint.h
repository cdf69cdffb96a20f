#pragma once

#include <QColor>
#include <QRect>

class QAbstractButton;
class QPainter;
class QPalette;

namespace pastille::app {

/// What a skinned control looks like at the moment.
struct SkinState {
    bool enabled = true;
    bool hovered = false;
    bool pressed = false;
    bool focused = false;  ///< by the keyboard
    bool marked = false;   ///< the default button, the checked radio button
};

SkinState StateOf(const QAbstractButton& button);

/// The colour that lies so far (0 to 1) from one to the other.
QColor Between(const QColor& from, const QColor& to, double part);

/// Paints face, border and focus of a control in the palette's colours.
void PaintSkin(QPainter& painter, const QRect& area, const QPalette& palette, const SkinState& state);

}  // namespace pastille::app
