// The menu bar, the toolbar and its layout.

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>

#include "app/CustomizeSheet.h"
#include "app/MainFrame.h"
#include "app/PastilleApp.h"
#include "app/Strings.h"
#include "platform/Registry.h"

namespace pastille::app {
namespace {

/// Below the maker's name, as every key of this program's own.
constexpr const char* kLayoutKey = "HKEY_CURRENT_USER\\Software\\Orvane\\Pastille\\CommandBars";
constexpr const char* kStateName = "State";
constexpr const char* kCommandsName = "StandardToolBar";
constexpr int kToolbarImage = 48;

/// A tooltip with a title above its text.
QString Balloon(const CommandInfo& command)
{
    const QString text = Text(command.prompt).trimmed().toHtmlEscaped();
    const QString title = Text(command.title).toHtmlEscaped();
    if (title.isEmpty())
        return text;
    return QStringLiteral("<b>%1</b><br>%2").arg(title, text);
}

}  // namespace

void CMainFrame::MakeActions()
{
    for (const CommandInfo& info : AllCommands()) {
        auto* action = new QAction(Text(info.text), this);
        if (*info.icon != '\0')
            action->setIcon(QIcon(QString::fromLatin1(info.icon)));
        if (*info.shortcut != '\0')
            action->setShortcut(QKeySequence(QString::fromLatin1(info.shortcut)));
        action->setStatusTip(Text(info.prompt));
        action->setToolTip(Balloon(info));
        connect(action, &QAction::triggered, this, [this, command = info.command] { Execute(command); });
        // Its keys work wherever it is shown.
        addAction(action);
        m_actions[info.command] = action;
    }
}

void CMainFrame::MakeMenus()
{
    QMenuBar* bar = menuBar();
    bar->setObjectName(QStringLiteral("Menu Bar"));
    QMenu* file = bar->addMenu(QStringLiteral("&File"));
    file->addAction(m_actions.at(Command::RepairPstFile));
    file->addAction(m_actions.at(Command::OpenStore));
    file->addSeparator();
    file->addAction(m_actions.at(Command::Exit));

    m_toolBar = new QToolBar(QStringLiteral("Standard ToolBar"), this);
    QAction* toggle = m_toolBar->toggleViewAction();
    toggle->setText(QStringLiteral("&Toolbar"));
    toggle->setStatusTip(QStringLiteral("Show or hide the toolbar"));
    toggle->setToolTip(QStringLiteral("<b>Toggle ToolBar</b><br>Show or hide the toolbar"));
    QMenu* view = bar->addMenu(QStringLiteral("&View"));
    QMenu* toolbars = view->addMenu(QStringLiteral("&Toolbars"));
    toolbars->addAction(toggle);
    toolbars->addAction(m_actions.at(Command::Customize));

    QMenu* help = bar->addMenu(QStringLiteral("&Help"));
    for (const Command command : {Command::Content, Command::Updates})
        help->addAction(m_actions.at(command));
    help->addSeparator();
    for (const Command command : {Command::HowToRepair, Command::HowToImport})
        help->addAction(m_actions.at(command));
    help->addSeparator();
    help->addAction(m_actions.at(Command::About));
}

void CMainFrame::MakeToolBar()
{
    m_toolBar->setObjectName(QStringLiteral("Standard ToolBar"));
    m_toolBar->setIconSize({kToolbarImage, kToolbarImage});
    m_toolBar->setAccessibleName(QStringLiteral("Standard ToolBar"));
    addToolBar(m_toolBar);
    FillToolBar(DefaultToolBar());
}

void CMainFrame::FillToolBar(const QList<Command>& commands)
{
    for (QAction* action : m_toolBar->actions())
        m_toolBar->removeAction(action);
    for (const Command command : commands) {
        if (const auto found = m_actions.find(command); found != m_actions.end())
            m_toolBar->addAction(found->second);
    }
}

void CMainFrame::RestoreLayout()
{
    const platform::CRegistry& registry = m_app.Registry();
    if (const auto saved = registry.Text(kLayoutKey, kCommandsName)) {
        QList<Command> commands;
        for (const QString& number :
             QString::fromStdString(*saved).split(QLatin1Char(','), Qt::SkipEmptyParts))
            commands.append(static_cast<Command>(number.toInt()));
        FillToolBar(commands);
    }
    if (const auto state = registry.Text(kLayoutKey, kStateName))
        restoreState(QByteArray::fromBase64(QByteArray::fromStdString(*state)));
}

void CMainFrame::SaveLayout()
{
    QStringList numbers;
    for (const QAction* action : m_toolBar->actions()) {
        for (const auto& [command, known] : m_actions) {
            if (known == action)
                numbers.append(QString::number(static_cast<int>(command)));
        }
    }
    platform::CRegistry& registry = m_app.Registry();
    registry.SetText(kLayoutKey, kCommandsName, numbers.join(QLatin1Char(',')).toStdString());
    registry.SetText(kLayoutKey, kStateName, saveState().toBase64().toStdString());
}

QMenu* CMainFrame::createPopupMenu()
{
    auto* menu = new QMenu(this);
    menu->addAction(m_toolBar->toggleViewAction());
    menu->addAction(m_actions.at(Command::Customize));
    return menu;
}

void CMainFrame::Customize()
{
    QList<Command> shown;
    for (const CommandInfo& command : AllCommands()) {
        if (m_toolBar->actions().contains(m_actions.at(command.command)))
            shown.append(command.command);
    }
    CCustomizeSheet sheet(this, shown);
    if (sheet.exec() == QDialog::Accepted)
        FillToolBar(sheet.Commands());
}

}  // namespace pastille::app
