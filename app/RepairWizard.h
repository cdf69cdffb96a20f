#pragma once

#include "app/AppState.h"
#include "app/Host.h"

class QWidget;

namespace pastille::app {

/// The pages of the wizard, with the numbers of their templates.
enum class WizardPage {
    None = 0,  ///< no further page: the wizard ends
    Start = 206,
    Scan = 207,
    Browse = 209,
    DefaultFolders = 210,
    Search = 211,
};

/// Shows the wizard, one modal page after the other, and fills in the choices. True when the user pressed
/// "&Repair" on the scan page; false when a page was closed.
bool RunWizard(QWidget* parent, IHost& host, RepairChoices& choices);

}  // namespace pastille::app
