#include "app/MainFrame.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFile>
#include <QLabel>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QStatusBar>
#include <QThread>

#include "app/AboutDlg.h"
#include "app/DiskSpace.h"
#include "app/Manual.h"
#include "app/MessageBox.h"
#include "app/PastilleApp.h"
#include "app/RepairWizard.h"
#include "app/Strings.h"
#include "app/SuccessfullyRecoveredDlg.h"
#include "preview/DisplayBody.h"
#include "preview/FormViewLeft.h"
#include "preview/ListViewRight.h"

namespace pastille::app {
namespace {

/// Pixels; on a small screen the list gives way.
constexpr int kLowestBody = 90;
constexpr const char* kUpdater = "orvaneupdate.EXE";

recovery::RecoveryOptions OptionsFor(IHost& host)
{
    recovery::RecoveryOptions options;
    options.helperProgram =
        QFile::encodeName(QCoreApplication::applicationDirPath()).toStdString() + "/Reg.exe";
    options.startProgram = [&host](const std::filesystem::path& program) {
        return host.StartProgram(program, {});
    };
    return options;
}

}  // namespace

CMainFrame::CMainFrame(CPastilleApp& app, const std::filesystem::path& store)
    : m_app(app),
      m_progress(this, *this),
      m_run(app.FileSystem(), app.Component(), OptionsFor(app.Host()), *this)
{
    setObjectName(QStringLiteral("CMainFrame"));
    setWindowTitle(Text(strings::kProduct));
    setWindowIcon(QIcon(QStringLiteral(":/icons/pastille.svg")));
    m_status = new QLabel(this);
    m_status->setTextFormat(Qt::PlainText);
    statusBar()->addWidget(m_status, 1);
    MakeActions();
    MakeMenus();
    MakeToolBar();
    RestoreLayout();
    StartUpdater(
        {QStringLiteral("/SilentCheck"), QStringLiteral("/NoIcon"), QStringLiteral("/NoUpdateSelf")});
    MakePanes();
    UpdateCommands();
    resize(QSize(1000, 700).boundedTo(screen()->availableSize()));
    m_folders->setFocus();
    const auto begin = [this, store] { store.empty() ? OpenWizard() : ShowStoreOrRepair(store); };
    QMetaObject::invokeMethod(this, begin, Qt::QueuedConnection);
}

CMainFrame::~CMainFrame() = default;

void CMainFrame::MakePanes()
{
    m_outer = new QSplitter(Qt::Horizontal, this);
    m_folders = new preview::CFormViewLeft(m_outer, *this);
    m_inner = new QSplitter(Qt::Vertical, m_outer);
    m_upper = MakeList(m_inner);
    m_body = new preview::CDisplayBody(m_inner);
    m_body->setMinimumHeight(kLowestBody);
    for (QSplitter* splitter : {m_outer, m_inner})
        splitter->setChildrenCollapsible(false);
    m_outer->setStretchFactor(1, 1);
    m_inner->setStretchFactor(1, 1);
    m_outer->setSizes({245, 755});
    m_inner->setSizes({400, 200});
    setCentralWidget(m_outer);
    OrderTabs();
    connect(new QShortcut(QKeySequence(Qt::Key_F6), this), &QShortcut::activated, this,
            [this] { FocusPane(1); });
    connect(new QShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F6), this), &QShortcut::activated, this,
            [this] { FocusPane(-1); });
}

void CMainFrame::FocusPane(int step)
{
    const QList<QWidget*> panes{m_folders, m_upper, m_body};
    qsizetype at = 0;
    for (qsizetype pane = 0; pane < panes.size(); ++pane) {
        const QWidget* focus = focusWidget();
        if (focus != nullptr && (focus == panes[pane] || panes[pane]->isAncestorOf(focus)))
            at = pane;
    }
    panes[(at + panes.size() + step) % panes.size()]->setFocus();
}

void CMainFrame::Execute(Command command)
{
    IHost& host = m_app.Host();
    switch (command) {
        case Command::RepairPstFile:
            OpenWizard();
            break;
        case Command::RecoverAndSave:
            StartRepair();
            break;
        case Command::OpenStore:
            AskForStore();
            break;
        case Command::Exit:
            close();
            break;
        case Command::Content:
            OpenHelp();
            break;
        case Command::Updates:
            StartUpdater({QStringLiteral("/NoUpdateSelf")});
            break;
        case Command::HowToRepair:
            host.Open(FileAddress(ManualPage(host, "repair.html")));
            break;
        case Command::HowToImport:
            host.Open(FileAddress(ManualPage(host, "import.html")));
            break;
        case Command::About:
            CAboutDlg(this, m_app).exec();
            break;
        case Command::Customize:
            Customize();
            break;
        case Command::ToggleToolbar:
            break;
    }
}

void CMainFrame::OpenHelp()
{
    constexpr int kNoFile = 2;
    constexpr int kNoPath = 3;
    const auto file = HelpFile(m_app.Host());
    const int result = file.empty() ? kNoFile : m_app.Host().Open(FileAddress(file));
    if (result == kNoFile || result == kNoPath)
        ShowBox(this, u"Unable to locate Help File", strings::kInformation, QMessageBox::Information);
}

void CMainFrame::StartUpdater(const QStringList& arguments)
{
    m_app.Host().StartProgram(m_app.Host().InstallationFolder() / kUpdater, arguments);
}

void CMainFrame::OpenWizard()
{
    if (m_run.IsRunning()) {
        ShowProgress();
        return;
    }
    if (IsListFilling())
        return;
    const bool isRepairWanted = RunWizard(this, m_app.Host(), m_app.Choices());
    UpdateCommands();
    if (isRepairWanted)
        StartRepair();
}

void CMainFrame::StartRepair()
{
    if (m_run.IsRunning()) {
        ShowProgress();
        return;
    }
    const platform::RunSettings& settings = m_app.Choices().settings;
    // No folder has no free space either, but that is nothing to complain about.
    if (settings.destinationFolder.empty())
        return;
    if (!HasRoomFor(m_app.FileSystem(), settings.sourcePath, settings.destinationFolder)) {
        ShowBox(this, strings::kNoSpace, strings::kInformation, QMessageBox::Information);
        return;
    }
    if (!m_run.Start(settings)) {
        ShowBox(this, u"The repair could not be started.", strings::kError, QMessageBox::Critical);
        return;
    }
    m_folders->BeginRun();
    ClearPanes();
    m_progress.Begin(settings);
    m_progressEnded = false;
    UpdateCommands();
    ShowProgress();
}

void CMainFrame::ShowProgress()
{
    // A run that only counts what it has brought back has nothing more to show.
    if (!m_progressEnded && !m_progress.isVisible())
        m_progress.exec();
}

void CMainFrame::UpdateCommands()
{
    m_actions.at(Command::RecoverAndSave)->setEnabled(!m_app.Choices().settings.sourcePath.empty());
    m_actions.at(Command::OpenStore)->setEnabled(!m_run.IsRunning());
}

void CMainFrame::ShowPhase(unsigned phase, bool closing)
{
    m_progress.ShowPhase(phase, closing);
    m_status->setText(PhaseCaption(phase, closing).trimmed());
}

void CMainFrame::ShowPercent(unsigned percent)
{
    m_progress.ShowPercent(percent);
}

void CMainFrame::EndProgress()
{
    m_progressEnded = true;
    m_progress.End();
    m_status->clear();
}

void CMainFrame::ShowRunBox(const QString& text, const QString& caption, QMessageBox::Icon icon)
{
    ShowBox(this, text, caption, icon);
}

void CMainFrame::ShowCompletion(const RunResult& result)
{
    CSuccessfullyRecoveredDlg(this, m_app.Host(), result).exec();
}

void CMainFrame::RunIsOver(const std::filesystem::path& store)
{
    m_progressEnded = true;
    m_progress.End();
    m_status->clear();
    m_app.Choices().settings.smartScan = false;
    m_app.Choices().settings.complete = false;
    UpdateCommands();
    if (!store.empty())
        ShowStore(store, false);
}

void CMainFrame::closeEvent(QCloseEvent* event)
{
    QThread::msleep(100);
    m_run.Pause();  // its end must not put a box over the question
    const bool isGranted = m_closeWithoutAsking || AskYesNo(this, strings::kAskExit, strings::kProduct);
    m_run.Resume();
    if (!isGranted) {
        event->ignore();
        return;
    }
    SaveLayout();
    if (m_run.IsRunning()) {
        m_status->setText(Text(strings::kClosingFile));
        m_run.StopForGood();
    }
    event->accept();
}

}  // namespace pastille::app
