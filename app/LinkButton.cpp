#include "app/LinkButton.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include <algorithm>
#include <cstdlib>

namespace pastille::app {
namespace {

constexpr int kMargin = 2;            // pixels around the text, for the focus frame
constexpr int kWidestInLetters = 60;  // wider texts wrap
constexpr int kTextFlags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWrapAnywhere | Qt::TextShowMnemonic;

/// The palette's colour for links, or that of text where the former cannot be read on the window.
QColor LinkColor(const QPalette& palette, QPalette::ColorRole role)
{
    constexpr int kLeastContrast = 60;  // of 255 levels of grey
    const QColor link = palette.color(role);
    const int contrast = std::abs(qGray(link.rgb()) - qGray(palette.color(QPalette::Window).rgb()));
    return contrast >= kLeastContrast ? link : palette.color(QPalette::WindowText);
}

}  // namespace

CLinkButton::CLinkButton(const QString& text, QWidget* parent) : QAbstractButton(parent)
{
    setText(text);
    QFont underlined = font();
    underlined.setUnderline(true);
    setFont(underlined);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

QSize CLinkButton::sizeHint() const
{
    const int wanted = fontMetrics().size(Qt::TextShowMnemonic, text()).width() + 2 * kMargin;
    const int width = std::min(wanted, kWidestInLetters * fontMetrics().averageCharWidth());
    return {width, heightForWidth(width)};
}

QSize CLinkButton::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 10, fontMetrics().height() + 2 * kMargin};
}

int CLinkButton::heightForWidth(int width) const
{
    const QRect room(0, 0, std::max(width - 2 * kMargin, 1), 1 << 20);
    const int height = fontMetrics().boundingRect(room, kTextFlags & ~Qt::AlignVCenter, text()).height();
    return std::max(height, fontMetrics().height()) + 2 * kMargin;
}

void CLinkButton::keyPressEvent(QKeyEvent* event)
{
    // Otherwise the key would press the dialog's default button.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else
        QAbstractButton::keyPressEvent(event);
}

void CLinkButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(LinkColor(palette(), isDown() ? QPalette::LinkVisited : QPalette::Link));
    painter.drawText(rect().adjusted(kMargin, kMargin, -kMargin, -kMargin), kTextFlags, text());
    if (!hasFocus())
        return;
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.backgroundColor = palette().color(QPalette::Window);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

}  // namespace pastille::app
