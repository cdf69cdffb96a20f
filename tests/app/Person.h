#pragma once

#include <QApplication>
#include <QMetaObject>
#include <QString>
#include <QStringList>
#include <QThread>

#include <chrono>
#include <filesystem>
#include <functional>
#include <ostream>
#include <type_traits>

class QWidget;

// How a failing test shows them.
inline void PrintTo(const QString& text, std::ostream* stream)
{
    *stream << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& texts, std::ostream* stream)
{
    *stream << texts.join(QStringLiteral("\n  ")).toStdString();
}

namespace pastille::tests {

/// A path as people see it.
QString Shown(const std::filesystem::path& path);

/// Uses the program's windows as a person does: sees what is visible, clicks, types and presses keys in the
/// window in front. Tests run on a thread of their own, windows on the main thread, so a dialog that waits
/// for its user does not hold up the test. Everything waits for what it needs to be there; what never comes
/// fails the test.
class CPerson {
public:
    static constexpr auto kPatience = std::chrono::seconds(20);

    /// Runs something on the windows' thread and returns its result. Not for what opens a dialog.
    template <class Function>
    static auto OnUi(Function function)
    {
        using Result = std::invoke_result_t<Function>;
        if (QThread::currentThread() == qApp->thread())
            return function();
        if constexpr (std::is_void_v<Result>) {
            QMetaObject::invokeMethod(qApp, function, Qt::BlockingQueuedConnection);
        } else {
            Result result{};
            QMetaObject::invokeMethod(
                qApp, [&] { result = function(); }, Qt::BlockingQueuedConnection);
            return result;
        }
    }
    /// Begins something on the windows' thread without waiting for its end.
    static void BeginOnUi(std::function<void()> function);
    /// Waits until everything that was begun before has come to its end or to a dialog.
    static void Settle();
    /// Waits until a condition holds, asked on the windows' thread. False when it never does.
    static bool WaitUntil(const std::function<bool()>& condition,
                          std::chrono::milliseconds patience = kPatience);

    /// Waits until the window in front has that title.
    void SeesWindow(const QString& title);
    /// Waits until the window in front is of that class; its object name tells.
    void SeesDialog(const QString& className);
    /// Waits until the frame is there, with no dialog before it.
    void IsAtTheFrame();
    /// Waits until no window of the program is visible.
    void SeesNoWindow();
    /// Waits until a text stands in the window in front: of a label, a button, a field, a row, a box.
    void Sees(const QString& text);
    /// True when the text stands there now.
    bool IsSeen(const QString& text);
    /// Every text that is visible in the window in front now.
    QStringList VisibleTexts();

    /// Clicks with the mouse on a button, a row of a list, or an entry of a menu or menu bar of that text, as
    /// soon as it can be clicked. The text has the "&" of its accelerator.
    void Clicks(const QString& text);
    /// Clicks on a button of the box of that caption that says the text.
    void Answers(const QString& caption, const QString& text, const QString& button);
    /// Clicks once on an empty place of the list in front.
    void ClicksBelowTheRows();
    /// Opens the window's menu and picks an entry.
    void PicksFromMenu(const QString& menu, const QString& entry);
    void Presses(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    /// Types into the widget that has the focus.
    void Types(const QString& text);
    /// Waits for a chooser of files or folders, types into it and confirms.
    void ChoosesInFileDialog(const QString& typed);
    /// The same in the chooser that "Browse..." opens; what was chosen stands in the window then.
    void BrowsesTo(const std::filesystem::path& chosen);
    /// Closes the window in front by its close box.
    void ClosesWindow();

    /// Whether a button of that text can be used; raises when there is none.
    bool CanClick(const QString& text);
    bool IsChecked(const QString& text);
    /// The rows of the list in front, from the top.
    QStringList Rows();
    /// The window in front; for looks at what a person sees, made on the windows' thread.
    static QWidget* Window();
};

}  // namespace pastille::tests
