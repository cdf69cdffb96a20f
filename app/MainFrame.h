#pragma once

#include <QMainWindow>

#include <functional>
#include <map>
#include <memory>

#include "app/Commands.h"
#include "app/RepairDlg.h"
#include "app/RepairRun.h"
#include "preview/PreviewFrame.h"

class QAction;
class QLabel;
class QSplitter;
class QToolBar;

namespace pastille::preview {
class CFormViewLeft;
class CDisplayBody;
class CListViewRight;
}  // namespace pastille::preview

namespace pastille::app {

class CPastilleApp;

/// The only top-level window of the program. Once it is created and shown, it opens the wizard by itself, or
/// the store that the program was started with.
class CMainFrame final : public QMainWindow,
                         private IRunWindows,
                         private IRunControl,
                         private preview::IPreviewFrame {
    Q_OBJECT

public:
    /// The application must outlive the frame. `store`: to be shown at first; empty: none.
    CMainFrame(CPastilleApp& app, const std::filesystem::path& store);
    ~CMainFrame() override;

    /// Shows the wizard, and starts the repair that it ends with. While a run goes, shows its progress
    /// instead.
    void OpenWizard();
    /// Starts a repair with what the wizard has filled in. While a run goes, shows its progress instead.
    void StartRepair();
    /// Shows the folders of a store, which is only read. Nothing while a run goes.
    void OpenStore(const std::filesystem::path& path);
    /// Puts another view into the right upper pane: 0 the property grid, 1 the item list; nothing else.
    void SwitchUpperPane(unsigned view);
    /// The next close request is granted without a question, as when the host ends the session.
    void CloseWithoutAsking() { m_closeWithoutAsking = true; }

protected:
    void closeEvent(QCloseEvent* event) override;
    QMenu* createPopupMenu() override;

private:
    // Creation
    void MakeActions();
    void MakeMenus();
    void MakeToolBar();
    void MakePanes();
    void RestoreLayout();

    void Execute(Command command);
    void OpenHelp();
    void StartUpdater(const QStringList& arguments);
    void Customize();
    void FillToolBar(const QList<Command>& commands);
    void SaveLayout();
    void FocusPane(int step);
    void OrderTabs();
    void ClearPanes();
    void AskForStore();
    /// For the store that the program was started with: one that cannot be opened is offered for a repair.
    void ShowStoreOrRepair(const std::filesystem::path& path);
    void ShowStore(const std::filesystem::path& path, bool anew,
                   const std::function<void()>& afterFailure = {});
    /// The right upper pane when it is that view, else null.
    preview::CListViewRight* List() const;
    preview::CListViewRight* MakeList(QWidget* parent);
    void ShowProgress();
    void UpdateCommands();

    // IRunWindows
    void ShowPhase(unsigned phase, bool closing) override;
    void ShowPercent(unsigned percent) override;
    void EndProgress() override;
    void ShowRunBox(const QString& text, const QString& caption, QMessageBox::Icon icon) override;
    void ShowCompletion(const RunResult& result) override;
    void ShowRecovered(const RunPreview& recovered) override;
    void ClearList() override;
    void ShowCounts(const recovery::SummaryCounts& counts) override;
    void RunIsOver(const std::filesystem::path& store) override;
    // IPreviewFrame
    bool IsListFilling() const override;
    void ShowMails(const std::u16string& folderKey) override;
    void ShowItems(preview::GridFamily family, const std::u16string& folderKey) override;
    // IRunControl
    void PauseRun() override { m_run.Pause(); }
    void ResumeRun() override { m_run.Resume(); }
    void StopRun() override { m_run.RequestStop(); }

    CPastilleApp& m_app;
    QLabel* m_status = nullptr;
    QSplitter* m_outer = nullptr;
    QSplitter* m_inner = nullptr;
    preview::CFormViewLeft* m_folders = nullptr;
    QWidget* m_upper = nullptr;
    std::shared_ptr<preview::CPreviewStore> m_store;  ///< that the panes show
    preview::CDisplayBody* m_body = nullptr;
    QToolBar* m_toolBar = nullptr;
    std::map<Command, QAction*> m_actions;
    CRepairDlg m_progress;
    CRepairRun m_run;  ///< after the dialog, which a run that ends late still reaches
    bool m_progressEnded = true;
    bool m_closeWithoutAsking = false;
};

}  // namespace pastille::app
