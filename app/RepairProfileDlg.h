#pragma once

#include "app/WizardPage.h"

namespace pastille::app {

/// The list of the stores in the folders where mail programs keep theirs.
class CRepairProfileDlg final : public CWizardPage {
    Q_OBJECT

public:
    CRepairProfileDlg(QWidget* parent, IHost& host, RepairChoices& choices);
};

}  // namespace pastille::app
