#pragma once

#include <QDialog>

class QVBoxLayout;

namespace pastille::app {

class CPastilleApp;

/// The about box. All its texts and the addresses of its links come from the current language's file.
class CAboutDlg final : public QDialog {
    Q_OBJECT

public:
    CAboutDlg(QWidget* parent, CPastilleApp& app);

private:
    void AddHeading(QVBoxLayout& layout);
    /// A link that opens the address under `addressKey`.
    void AddLink(QVBoxLayout& layout, const QString& text, const char* addressKey);
    void AddOkButton(QVBoxLayout& layout);
    void OpenLink(const char* addressKey);

    CPastilleApp& m_app;
};

}  // namespace pastille::app
