#include "preview/Animation.h"

#include <QPainter>

namespace pastille::preview {
namespace {

constexpr int kPictures = 48;
constexpr int kSheets = 3;
constexpr auto kPictureTime = std::chrono::milliseconds(40);

void DrawFile(QPainter& painter, const QRectF& box, const QColor& line, const QColor& fill)
{
    const qreal fold = box.width() / 3;
    QPolygonF shape;
    shape << box.topLeft() << QPointF(box.right() - fold, box.top()) << QPointF(box.right(), box.top() + fold)
          << box.bottomRight() << box.bottomLeft();
    painter.setPen(QPen(line, 1.5));
    painter.setBrush(fill);
    painter.drawPolygon(shape);
    painter.drawPolyline(QPolygonF() << QPointF(box.right() - fold, box.top())
                                     << QPointF(box.right() - fold, box.top() + fold)
                                     << QPointF(box.right(), box.top() + fold));
}

}  // namespace

CAnimation::CAnimation(QWidget* parent) : QWidget(parent)
{
    setMinimumSize(sizeHint());
    m_timer.setInterval(kPictureTime);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_picture = (m_picture + 1) % kPictures;
        update();
    });
}

void CAnimation::Play()
{
    m_picture = 0;
    m_timer.start();
}

void CAnimation::Stop()
{
    m_timer.stop();
}

void CAnimation::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor line = palette().color(QPalette::WindowText);
    const QColor accent = palette().color(QPalette::Highlight);
    const QColor paper = palette().color(QPalette::Base);

    const qreal side = height() - 12.0;
    const QRectF from(6, 6, side * 0.8, side);
    const QRectF to(width() - 6 - side * 0.8, 6, side * 0.8, side);
    const qreal way = to.left() - from.left();
    for (int sheet = 0; sheet < kSheets; ++sheet) {
        const int step = (m_picture + sheet * kPictures / kSheets) % kPictures;
        const qreal part = static_cast<qreal>(step) / kPictures;
        const QRectF box(from.left() + way * part + 10, height() / 2.0 - 9 - 10 * 4 * part * (1 - part), 14,
                         18);
        QColor shade = accent;
        shade.setAlphaF(static_cast<float>(0.25 + 0.75 * part));
        DrawFile(painter, box, shade, paper);
    }
    QColor faded = line;
    faded.setAlphaF(0.5F);
    DrawFile(painter, from, faded, paper);
    DrawFile(painter, to, accent, paper);
}

}  // namespace pastille::preview
