#include "tests/app/Camera.h"

#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

#include <cstdio>
#include <thread>

namespace pastille::tests {
namespace {

/// A window with its title above it, as a desktop shows it; the virtual display has none that would.
QPixmap WithTitleBar(QWidget& window)
{
    constexpr int kBar = 30;
    const QColor line("#7f8790");
    QPixmap picture(window.width() + 2, window.height() + kBar + 2);
    picture.fill(QColor("#dfe3e8"));
    QPainter painter(&picture);
    painter.setFont(QApplication::font());
    painter.setPen(QColor("#20242a"));
    painter.drawPixmap(8, 7, QApplication::windowIcon().pixmap(18, 18));
    const QRect bar(34, 1, window.width() - 64, kBar);
    painter.drawText(bar, Qt::AlignVCenter | Qt::AlignLeft,
                     painter.fontMetrics().elidedText(window.windowTitle(), Qt::ElideRight, bar.width()));
    painter.drawText(QRect(bar.right(), 1, 30, kBar), Qt::AlignCenter, QChar(0x00D7));
    painter.drawPixmap(1, kBar + 1, window.grab());
    painter.setPen(line);
    painter.drawRect(picture.rect().adjusted(0, 0, -1, -1));
    return picture;
}

}  // namespace

void CCamera::Takes(const std::string& name)
{
    // Windows paint themselves when they have come up.
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    const auto file = m_folder / (name + ".png");
    const bool saved = CPerson::OnUi(
        [&] { return CPerson::Window() && WithTitleBar(*CPerson::Window()).save(Shown(file)); });
    std::printf("%s%s\n", saved ? "" : "NOT SAVED: ", file.c_str());
    m_failed = m_failed || !saved;
}

void CCamera::TakesBox(const std::string& name, const QString& button)
{
    CPerson person;
    CPerson::WaitUntil([&] { return person.IsSeen(button); });
    Takes(name);
    person.Clicks(button);
}

}  // namespace pastille::tests
