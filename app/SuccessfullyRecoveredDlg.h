#pragma once

#include <QDialog>

#include "app/Host.h"
#include "app/RepairRun.h"

class QGridLayout;

namespace pastille::app {

/// What a run has brought back, shown when it has ended well.
class CSuccessfullyRecoveredDlg final : public QDialog {
    Q_OBJECT

public:
    /// The host must outlive the dialog.
    CSuccessfullyRecoveredDlg(QWidget* parent, IHost& host, const RunResult& result);

private:
    QWidget* MakeHeading();
    QWidget* MakeCounts(const recovery::SummaryCounts& counts);
    void AddLinks(QGridLayout& grid, const std::filesystem::path& outputFolder);
    void AddAccount(QGridLayout& grid, const RunResult& result);
    QWidget* MakeLink(const QString& text, const QString& toolTip, const QString& address);

    IHost& m_host;
};

}  // namespace pastille::app
