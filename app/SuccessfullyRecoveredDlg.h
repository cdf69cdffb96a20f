#pragma once

#include <QDialog>

#include "app/Host.h"
#include "recovery/RunSummary.h"

class QGridLayout;

namespace pastille::app {

/// What a run has brought back, shown when it has ended well.
class CSuccessfullyRecoveredDlg final : public QDialog {
    Q_OBJECT

public:
    /// The host must outlive the dialog.
    CSuccessfullyRecoveredDlg(QWidget* parent, IHost& host, const recovery::SummaryCounts& counts,
                              const std::filesystem::path& outputFolder);

private:
    QWidget* MakeHeading();
    QWidget* MakeCounts(const recovery::SummaryCounts& counts);
    void AddLinks(QGridLayout& grid, const std::filesystem::path& outputFolder);
    QWidget* MakeLink(const QString& text, const QString& toolTip, const QString& address);

    IHost& m_host;
};

}  // namespace pastille::app
