#include "app/RepairWizard.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QPointer>
#include <QThread>
#include <QWindow>

#include <chrono>
#include <memory>
#include <optional>

#include "app/Custom2Dlg.h"
#include "app/CustomDlg.h"
#include "app/FindPstDlg.h"
#include "app/RepairProfileDlg.h"
#include "app/SelectPstDlg.h"

namespace pastille::app {
namespace {

CWizardPage* MakePage(WizardPage page, WizardPage origin, QWidget* parent, IHost& host,
                      RepairChoices& choices)
{
    switch (page) {
        case WizardPage::DefaultFolders:
            return new CRepairProfileDlg(parent, host, choices);
        case WizardPage::Browse:
            return new CSelectPstDlg(parent, choices);
        case WizardPage::Search:
            return new CFindPstDlg(parent, host, choices);
        case WizardPage::Scan:
            return new CCustom2Dlg(parent, choices, origin);
        case WizardPage::Start:
        case WizardPage::None:
            break;
    }
    return new CCustomDlg(parent);
}

/// Waits until the host shows the window: before, it has not put it at its place yet, and nothing can be
/// centred on it.
void AwaitPlace(QPointer<QWidget> window)
{
    const QDeadlineTimer deadline(std::chrono::milliseconds(500));
    while (window != nullptr && window->windowHandle() != nullptr && !window->windowHandle()->isExposed() &&
           !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        QThread::msleep(2);
    }
}

}  // namespace

bool RunWizard(QWidget* parent, IHost& host, RepairChoices& choices)
{
    const QPointer<QWidget> owner = parent;
    AwaitPlace(owner);
    if (parent != nullptr && owner.isNull())
        return false;
    WizardPage origin = WizardPage::None;
    WizardPage page = WizardPage::Start;
    std::optional<QPoint> position;
    QByteArray geometry;  ///< once the user has resized a page; they all come up in their own size until then
    while (page != WizardPage::None) {
        // The parent deletes the page when it ends before it.
        const QPointer<CWizardPage> dialog = MakePage(page, origin, parent, host, choices);
        if (!geometry.isEmpty())
            dialog->restoreGeometry(geometry);
        if (position && !dialog->isMaximized())
            dialog->SetCorner(*position);
        dialog->exec();
        if (dialog.isNull())
            return false;
        const std::unique_ptr<CWizardPage> deleting(dialog);
        if (dialog->IsRepairAsked())
            return true;
        if (dialog->IsResized())
            geometry = dialog->saveGeometry();
        position = dialog->isMaximized() ? std::nullopt : std::optional(dialog->geometry().topLeft());
        origin = page;
        page = dialog->Following();
    }
    return false;
}

}  // namespace pastille::app
