#pragma once

#include "app/WizardPage.h"

namespace pastille::app {

/// The start page: where the damaged file is to be found.
class CCustomDlg final : public CWizardPage {
    Q_OBJECT

public:
    explicit CCustomDlg(QWidget* parent);
};

}  // namespace pastille::app
