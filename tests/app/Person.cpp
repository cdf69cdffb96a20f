#include "tests/app/Person.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QTest>

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace pastille::tests {
namespace {

/// Visible widgets of a class in a window, but not in another one that belongs to it.
template <class Widget>
QList<Widget*> Visible(const QWidget* window)
{
    QList<Widget*> found = window != nullptr ? window->findChildren<Widget*>() : QList<Widget*>();
    found.removeIf([&](const QWidget* widget) { return !widget->isVisible() || widget->window() != window; });
    return found;
}

QStringList RowTexts(const QAbstractItemView& view)
{
    QStringList texts;
    for (int row = 0; view.model() != nullptr && row < view.model()->rowCount(); ++row)
        texts.append(view.model()->index(row, 0).data().toString());
    return texts;
}

QStringList TextsOf(const QWidget* window)
{
    if (window == nullptr)
        return {};
    QStringList texts{window->windowTitle()};
    for (const QWidget* widget : Visible<QWidget>(window)) {
        // What a progress bar says beside these is not painted.
        const bool isBar = qobject_cast<const QProgressBar*>(widget) != nullptr;
        for (const char* property : {"text", "title", "plainText"})
            texts.append(isBar ? QString() : widget->property(property).toString());
        const auto* header = qobject_cast<const QHeaderView*>(widget);
        for (int column = 0; header != nullptr && column < header->count(); ++column)
            texts.append(header->model()->headerData(column, header->orientation()).toString());
        if (const auto* view = qobject_cast<const QAbstractItemView*>(widget); view != nullptr && !header)
            texts.append(RowTexts(*view));
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

/// Clicks on an entry of a menu or menu bar, when it can be clicked now.
template <class Bar>
bool ClickEntry(Bar* bar, const QString& text)
{
    for (QAction* action : bar->actions()) {
        if (action->text() != text || !action->isVisible() || !action->isEnabled())
            continue;
        const QPoint at = bar->actionGeometry(action).center();
        CPerson::BeginOnUi([bar, at] { QTest::mouseClick(bar, Qt::LeftButton, {}, at); });
        return true;
    }
    return false;
}

bool ClickRow(QAbstractItemView* view, const QString& text)
{
    const qsizetype row = RowTexts(*view).indexOf(text);
    if (row < 0 || !view->isEnabled())
        return false;
    const QModelIndex index = view->model()->index(static_cast<int>(row), 0);
    view->scrollTo(index);
    const QPoint at = view->visualRect(index).center();
    CPerson::BeginOnUi([view, at] { QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at); });
    return true;
}

/// Clicks what has the text, when it can be clicked now.
bool ClickNow(const QString& text)
{
    if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget()))
        return ClickEntry(menu, text);
    QWidget* window = CPerson::Window();
    if (QAbstractButton* button = Button(window, text)) {
        if (button->isEnabled())
            CPerson::BeginOnUi([button] { QTest::mouseClick(button, Qt::LeftButton); });
        return button->isEnabled();
    }
    return std::ranges::any_of(Visible<QMenuBar>(window), [&](auto* bar) { return ClickEntry(bar, text); }) ||
           std::ranges::any_of(Visible<QAbstractItemView>(window),
                               [&](auto* view) { return ClickRow(view, text); });
}

/// Waits for what a person needs, and fails the test when it never comes.
void Need(const QString& what, const std::function<bool()>& condition)
{
    if (CPerson::WaitUntil(condition))
        return;
    const QString now =
        CPerson::OnUi([] { return TextsOf(CPerson::Window()).join(QStringLiteral("\n  | ")); });
    throw std::runtime_error((what + QStringLiteral("; in front is\n    ") + now).toStdString());
}

}  // namespace

QString Shown(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

void CPerson::BeginOnUi(std::function<void()> function)
{
    QMetaObject::invokeMethod(qApp, std::move(function), Qt::QueuedConnection);
}

void CPerson::Settle()
{
    OnUi([] {});
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
    Need("no window " + title, [&] { return Window() != nullptr && Window()->windowTitle() == title; });
}

void CPerson::SeesDialog(const QString& className)
{
    Need("no " + className, [&] { return Window() != nullptr && Window()->objectName() == className; });
}

void CPerson::IsAtTheFrame()
{
    Need("not at the frame",
         [] { return QApplication::activeModalWidget() == nullptr && Window() != nullptr; });
}

void CPerson::SeesNoWindow()
{
    Need("a window is left", [] { return Window() == nullptr; });
}

bool CPerson::IsSeen(const QString& text)
{
    return OnUi([&] { return TextsOf(Window()).contains(text); });
}

void CPerson::Sees(const QString& text)
{
    Need("not seen: " + text, [&] { return TextsOf(Window()).contains(text); });
}

QStringList CPerson::VisibleTexts()
{
    return OnUi([] { return TextsOf(Window()); });
}

void CPerson::Clicks(const QString& text)
{
    Need("cannot click " + text, [&] { return ClickNow(text); });
}

void CPerson::Answers(const QString& caption, const QString& text, const QString& button)
{
    Sees(text);
    SeesWindow(caption);
    Clicks(button);
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
    Need("the menu does not open: " + menu, [] { return QApplication::activePopupWidget() != nullptr; });
    Clicks(entry);
}

void CPerson::Presses(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    Settle();
    BeginOnUi([=] {
        QWidget* target = QApplication::activePopupWidget();
        if (target == nullptr && Window() != nullptr) {
            // Without a window manager nobody else makes the window in front the active one, which alone has
            // accelerators.
            QApplication::setActiveWindow(Window());
            target = Window()->focusWidget() != nullptr ? Window()->focusWidget() : Window();
        }
        if (target != nullptr)
            QTest::keyClick(target, key, modifiers);
    });
}

void CPerson::Types(const QString& text)
{
    Need("there is no field to type into", [&] {
        // A window that has just come up gives the focus to a field a moment later.
        QWidget* field = Window() != nullptr ? Window()->focusWidget() : nullptr;
        if (qobject_cast<QComboBox*>(field) == nullptr && qobject_cast<QLineEdit*>(field) == nullptr)
            return false;
        // Of letters beyond ASCII the test library knows no keys.
        for (const QChar letter : text) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
            QApplication::sendEvent(field, &press);
        }
        return true;
    });
}

void CPerson::ChoosesInFileDialog(const QString& typed)
{
    const auto nameField = []() -> QLineEdit* {
        const auto* dialog = qobject_cast<QFileDialog*>(Window());
        return dialog != nullptr ? dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")) : nullptr;
    };
    Need("no file dialog", [&] { return nameField() != nullptr && nameField()->isVisible(); });
    // While it reads a folder, the chooser at times undoes what is typed; a person types it again.
    for (int attempt = 0; attempt < 4; ++attempt) {
        // The list of files has the focus at times, and takes some letters for commands.
        OnUi([&] {
            if (QLineEdit* field = nameField()) {
                QTest::mouseClick(field, Qt::LeftButton);
                field->setFocus();
                field->clear();
            }
        });
        Types(typed);
        OnUi([&] {
            if (QLineEdit* field = nameField())
                QTest::keyClick(field, Qt::Key_Return);
        });
        if (WaitUntil([&] { return nameField() == nullptr; }, std::chrono::seconds(5)))
            return;
    }
    Need("the file dialog does not take " + typed, [&] { return nameField() == nullptr; });
}

void CPerson::BrowsesTo(const std::filesystem::path& chosen)
{
    Clicks("Browse...");
    ChoosesInFileDialog(Shown(chosen));
    Sees(Shown(chosen));
}

void CPerson::ClosesWindow()
{
    BeginOnUi([window = OnUi([] { return Window(); })] { window->close(); });
}

bool CPerson::CanClick(const QString& text)
{
    Need("no button " + text, [&] { return Button(Window(), text) != nullptr; });
    return OnUi([&] { return Button(Window(), text)->isEnabled(); });
}

bool CPerson::IsChecked(const QString& text)
{
    return OnUi([&] { return Button(Window(), text) != nullptr && Button(Window(), text)->isChecked(); });
}

QStringList CPerson::Rows()
{
    return OnUi([] {
        const auto views = Visible<QAbstractItemView>(Window());
        return views.empty() ? QStringList() : RowTexts(*views.front());
    });
}

}  // namespace pastille::tests
