#pragma once

#include <QTimer>

#include <memory>

#include "app/DriveSearch.h"
#include "app/WizardPage.h"

class QComboBox;
class QPlainTextEdit;

namespace pastille::app {

class CTXListCtrl;

/// The search of a drive or a folder for stores.
class CFindPstDlg final : public CWizardPage {
    Q_OBJECT

public:
    CFindPstDlg(QWidget* parent, IHost& host, RepairChoices& choices);
    ~CFindPstDlg() override;

protected:
    /// Not while a search runs.
    bool MayLeave() override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void AddControls();
    void FillDrives();
    std::filesystem::path Root() const;
    void FindOrStop();
    void Begin();
    void ShowIdle();
    void TakeNews();
    void End();

    IHost& m_host;
    QComboBox* m_drives = nullptr;
    CSkinButton* m_find = nullptr;
    QPlainTextEdit* m_folder = nullptr;
    CTXListCtrl* m_list = nullptr;
    CSkinButton* m_next = nullptr;
    bool m_idle = true;  ///< also once the user has stopped, before the search has ended
    std::unique_ptr<CDriveSearch> m_search;
    QTimer m_news;
};

}  // namespace pastille::app
