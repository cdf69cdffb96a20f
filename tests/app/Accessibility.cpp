#include "tests/app/Accessibility.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QLabel>

#include "tests/app/Person.h"

namespace pastille::tests {
namespace {

QStringList FaultsOfLabel(QLabel& label)
{
    QStringList faults;
    if (label.pixmap().isNull() &&
        (label.textFormat() != Qt::PlainText || label.height() < label.heightForWidth(label.width())))
        faults.append(QStringLiteral("cut or markup: ") + label.text());
    if (!NameOf(&label).contains(label.text()))
        faults.append(QStringLiteral("name hides the text: ") + label.text());
    return faults;
}

QStringList FaultsOf(QWidget& widget)
{
    QStringList faults;
    if ((widget.focusPolicy() & Qt::TabFocus) != 0 && widget.focusProxy() == nullptr &&
        NameOf(&widget).isEmpty())
        faults.append(QStringLiteral("no name: ") + QLatin1String(widget.metaObject()->className()));
    if (auto* label = qobject_cast<QLabel*>(&widget))
        return faults + FaultsOfLabel(*label);
    const QSize wanted = widget.sizeHint();
    if (qobject_cast<QAbstractButton*>(&widget) != nullptr &&
        (widget.width() < wanted.width() || widget.height() < wanted.height()))
        faults.append(QStringLiteral("cut: ") + NameOf(&widget));
    return faults;
}

}  // namespace

QString NameOf(QWidget* widget)
{
    if (!widget->accessibleName().isEmpty())
        return widget->accessibleName();
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
    return interface == nullptr ? QString() : interface->text(QAccessible::Name);
}

QStringList AccessibilityFaults()
{
    return CPerson::OnUi([] {
        QStringList faults;
        for (auto* widget : CPerson::Window()->findChildren<QWidget*>()) {
            if (widget->isVisible())
                faults += FaultsOf(*widget);
        }
        return faults;
    });
}

}  // namespace pastille::tests
