#pragma once

#include "app/WizardPage.h"

class QLineEdit;
class QVBoxLayout;

namespace pastille::app {

/// The last page: how to scan, whether to recover everything, and the folder for the new store. "&Repair" is enabled when there is a folder
/// of the path that the folder dialog has handed over; of a name that is no UTF-8 it hands over another one.
class CCustom2Dlg final : public CWizardPage {
    Q_OBJECT

public:
    /// `origin` is the page that "Back" leads to.
    CCustom2Dlg(QWidget* parent, RepairChoices& choices, WizardPage origin);

protected:
    void LookAgain() override;

private:
    void AddMethods();
    void AddCompleteRecovery();
    void AddDestination();
    void Browse();

    RepairChoices& m_choices;
    std::filesystem::path m_chosen;  ///< on this page; empty until then
    QLineEdit* m_folder = nullptr;
    CSkinButton* m_repair = nullptr;
};

}  // namespace pastille::app
