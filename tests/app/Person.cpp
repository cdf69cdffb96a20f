#include "tests/app/Person.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QTest>
#include <QTextEdit>

#include <stdexcept>
#include <thread>

namespace pastille::tests {
namespace {

template <class Widget>
QList<Widget*> Visible(const QWidget* window)
{
    QList<Widget*> found;
    if (window == nullptr)
        return found;
    for (Widget* widget : window->findChildren<Widget*>()) {
        if (widget->isVisible() && widget->window() == window)
            found.append(widget);
    }
    return found;
}

QStringList RowTexts(const QAbstractItemView& view)
{
    QStringList texts;
    const QAbstractItemModel* model = view.model();
    for (int row = 0; model != nullptr && row < model->rowCount(); ++row)
        texts.append(model->index(row, 0).data().toString());
    return texts;
}

QStringList TextsOf(const QWidget* window)
{
    QStringList texts;
    if (window == nullptr)
        return texts;
    texts.append(window->windowTitle());
    for (const auto* label : Visible<QLabel>(window))
        texts.append(label->text());
    for (const auto* button : Visible<QAbstractButton>(window))
        texts.append(button->text());
    for (const auto* box : Visible<QGroupBox>(window))
        texts.append(box->title());
    for (const auto* field : Visible<QLineEdit>(window))
        texts.append(field->text());
    for (const auto* field : Visible<QPlainTextEdit>(window))
        texts.append(field->toPlainText());
    for (const auto* field : Visible<QTextEdit>(window))
        texts.append(field->toPlainText());
    for (const auto* view : Visible<QAbstractItemView>(window))
        texts.append(RowTexts(*view));
    for (const auto* header : Visible<QHeaderView>(window)) {
        for (int section = 0; header->model() != nullptr && section < header->count(); ++section)
            texts.append(header->model()->headerData(section, header->orientation()).toString());
    }
    texts.removeAll(QString());
    return texts;
}

QAbstractButton* Button(const QWidget* window, const QString& text)
{
    for (auto* button : Visible<QAbstractButton>(window)) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

QAction* EntryOf(QMenu* menu, const QString& text)
{
    for (QAction* action : menu->actions()) {
        if (action->text() == text && action->isVisible())
            return action;
    }
    return nullptr;
}

/// Clicks what has the text, when it can be clicked now.
bool ClickNow(const QString& text)
{
    if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
        QAction* entry = EntryOf(menu, text);
        if (entry == nullptr || !entry->isEnabled())
            return false;
        const QPoint at = menu->actionGeometry(entry).center();
        CPerson::BeginOnUi([menu, at] { QTest::mouseClick(menu, Qt::LeftButton, {}, at); });
        return true;
    }
    QWidget* window = CPerson::Window();
    if (QAbstractButton* button = Button(window, text)) {
        if (!button->isEnabled())
            return false;
        CPerson::BeginOnUi([button] { QTest::mouseClick(button, Qt::LeftButton); });
        return true;
    }
    for (auto* bar : Visible<QMenuBar>(window)) {
        for (QAction* action : bar->actions()) {
            if (action->text() != text || !action->isEnabled())
                continue;
            const QPoint at = bar->actionGeometry(action).center();
            CPerson::BeginOnUi([bar, at] { QTest::mouseClick(bar, Qt::LeftButton, {}, at); });
            return true;
        }
    }
    for (auto* view : Visible<QAbstractItemView>(window)) {
        const qsizetype row = RowTexts(*view).indexOf(text);
        if (row < 0 || !view->isEnabled())
            continue;
        const QModelIndex index = view->model()->index(static_cast<int>(row), 0);
        view->scrollTo(index);
        const QPoint at = view->visualRect(index).center();
        CPerson::BeginOnUi([view, at] { QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at); });
        return true;
    }
    return false;
}

/// What is seen in the window in front, for the message of a failure.
QString Now()
{
    return CPerson::OnUi([] { return TextsOf(CPerson::Window()).join(QStringLiteral("\n  | ")); });
}

[[noreturn]] void GiveUp(const QString& what)
{
    throw std::runtime_error((what + QStringLiteral("; in front is\n    ") + Now()).toStdString());
}

}  // namespace

void CPerson::BeginOnUi(std::function<void()> function)
{
    QMetaObject::invokeMethod(qApp, std::move(function), Qt::QueuedConnection);
}

bool CPerson::WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!OnUi(condition)) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

QWidget* CPerson::Window()
{
    if (QWidget* modal = QApplication::activeModalWidget())
        return modal;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && (window->windowFlags() & Qt::WindowType_Mask) == Qt::Window)
            return window;
    }
    return nullptr;
}

void CPerson::SeesWindow(const QString& title)
{
    if (!WaitUntil([&] { return Window() != nullptr && Window()->windowTitle() == title; }))
        GiveUp(QStringLiteral("no window ") + title);
}

void CPerson::IsAtTheFrame()
{
    if (!WaitUntil([] { return QApplication::activeModalWidget() == nullptr && Window() != nullptr; }))
        GiveUp(QStringLiteral("not at the frame"));
}

void CPerson::SeesNoWindow()
{
    if (!WaitUntil([] { return Window() == nullptr; }))
        GiveUp(QStringLiteral("a window is left"));
}

bool CPerson::IsSeen(const QString& text)
{
    return OnUi([&] { return TextsOf(Window()).contains(text); });
}

void CPerson::Sees(const QString& text)
{
    if (!WaitUntil([&] { return TextsOf(Window()).contains(text); }))
        GiveUp(QStringLiteral("not seen: ") + text);
}

QStringList CPerson::VisibleTexts()
{
    return OnUi([] { return TextsOf(Window()); });
}

void CPerson::Clicks(const QString& text)
{
    if (!WaitUntil([&] { return ClickNow(text); }))
        GiveUp(QStringLiteral("cannot click ") + text);
}

void CPerson::ClicksBelowTheRows()
{
    OnUi([] {
        for (auto* view : Visible<QAbstractItemView>(Window())) {
            QWidget* area = view->viewport();
            QTest::mouseClick(area, Qt::LeftButton, {}, area->rect().bottomLeft() + QPoint(5, -3));
        }
    });
}

void CPerson::PicksFromMenu(const QString& menu, const QString& entry)
{
    Clicks(menu);
    if (!WaitUntil([] { return QApplication::activePopupWidget() != nullptr; }))
        GiveUp(QStringLiteral("the menu does not open: ") + menu);
    Clicks(entry);
}

void CPerson::Presses(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    OnUi([] {});  // everything begun before comes first
    BeginOnUi([=] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            QTest::keyClick(menu, key, modifiers);
            return;
        }
        QWidget* window = Window();
        if (window == nullptr)
            return;
        // Without a window manager nobody else makes the window in front the active one, which alone has
        // accelerators.
        QApplication::setActiveWindow(window);
        QWidget* focus = window->focusWidget();
        QTest::keyClick(focus != nullptr ? focus : window, key, modifiers);
    });
}

void CPerson::Types(const QString& text)
{
    const bool typed = WaitUntil([&] {
        // A window that has just come up gives the focus to a field a moment later.
        QWidget* window = Window();
        QWidget* field = window != nullptr ? window->focusWidget() : nullptr;
        if (qobject_cast<QComboBox*>(field) == nullptr && qobject_cast<QLineEdit*>(field) == nullptr)
            return false;
        // Of letters beyond ASCII the test library knows no keys.
        for (const QChar letter : text) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
            QApplication::sendEvent(field, &press);
        }
        return true;
    });
    if (!typed)
        GiveUp(QStringLiteral("there is no field to type into"));
}

void CPerson::ChoosesInFileDialog(const QString& typed)
{
    const auto nameField = []() -> QLineEdit* {
        const auto* dialog = qobject_cast<QFileDialog*>(Window());
        return dialog != nullptr ? dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")) : nullptr;
    };
    if (!WaitUntil([&] { return nameField() != nullptr && nameField()->isVisible(); }))
        GiveUp(QStringLiteral("no file dialog"));
    // The list of files has the focus at times, and takes some letters for commands.
    OnUi([&] {
        QTest::mouseClick(nameField(), Qt::LeftButton);
        nameField()->setFocus();
        nameField()->clear();
    });
    Types(typed);
    OnUi([&] { QTest::keyClick(nameField(), Qt::Key_Return); });
    if (!WaitUntil([&] { return nameField() == nullptr; }))
        GiveUp(QStringLiteral("the file dialog does not take ") + typed);
}

void CPerson::ClosesWindow()
{
    BeginOnUi([window = OnUi([] { return Window(); })] { window->close(); });
}

bool CPerson::CanClick(const QString& text)
{
    const int state = OnUi([&] {
        const QAbstractButton* button = Button(Window(), text);
        return button == nullptr ? -1 : button->isEnabled() ? 1 : 0;
    });
    if (state < 0)
        GiveUp(QStringLiteral("no button ") + text);
    return state == 1;
}

bool CPerson::IsChecked(const QString& text)
{
    return OnUi([&] {
        const QAbstractButton* button = Button(Window(), text);
        return button != nullptr && button->isChecked();
    });
}

QStringList CPerson::Rows()
{
    return OnUi([] {
        const auto views = Visible<QAbstractItemView>(Window());
        return views.empty() ? QStringList() : RowTexts(*views.front());
    });
}

}  // namespace pastille::tests
