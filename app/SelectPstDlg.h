#pragma once

#include "app/WizardPage.h"

class QLineEdit;

namespace pastille::app {

/// The page on which the user picks the damaged file in a file dialog. File dialogs hand over text, so of a
/// name that is no UTF-8 comes another path, where no file is: it is shown, and "Next" stays disabled. The
/// lists of files take such names.
class CSelectPstDlg final : public CWizardPage {
    Q_OBJECT

public:
    CSelectPstDlg(QWidget* parent, RepairChoices& choices);

protected:
    void LookAgain() override;

private:
    void Browse();
    void Choose(const std::filesystem::path& file);

    RepairChoices& m_choices;
    std::filesystem::path m_chosen;  ///< on this page; empty until then
    QLineEdit* m_file;
    CSkinButton* m_next;
};

}  // namespace pastille::app
