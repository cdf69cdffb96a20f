#pragma once

#include <QDialog>

namespace pastille::platform {
class CRegistry;
}

namespace pastille::app {

class IHost;

/// Explains that Outlook 2000 is in a mode in which no store can be written, and offers to change it.
class CInformationDlg final : public QDialog {
    Q_OBJECT

public:
    CInformationDlg(IHost& host, platform::CRegistry& registry);

private:
    void Confirm();

    IHost& m_host;
    platform::CRegistry& m_registry;
};

}  // namespace pastille::app
