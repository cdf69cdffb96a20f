#pragma once

#include "app/WizardPage.h"

class QLineEdit;

namespace pastille::app {

/// The page on which the user picks the damaged file in a file dialog.
class CSelectPstDlg final : public CWizardPage {
    Q_OBJECT

public:
    CSelectPstDlg(QWidget* parent, RepairChoices& choices);

protected:
    void LookAgain() override;

private:
    void Browse();

    RepairChoices& m_choices;
    std::filesystem::path m_chosen;  ///< on this page; empty until then
    QLineEdit* m_file;
    CSkinButton* m_next;
};

}  // namespace pastille::app
