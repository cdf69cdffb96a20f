#pragma once

#include <QDialog>

namespace pastille::platform {
class CRegistry;
}

namespace pastille::app {

class IHost;

/// Asks for the user's agreement before Outlook 2000 is switched to its other mode, and switches it then.
class CDisclaimerDlg final : public QDialog {
    Q_OBJECT

public:
    CDisclaimerDlg(IHost& host, platform::CRegistry& registry);

private:
    void Accept();

    IHost& m_host;
    platform::CRegistry& m_registry;
};

}  // namespace pastille::app
