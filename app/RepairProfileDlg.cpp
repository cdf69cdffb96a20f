#include "app/RepairProfileDlg.h"

#include <QLabel>
#include <QVBoxLayout>

#include "app/StoreFiles.h"
#include "app/TXListCtrl.h"

namespace pastille::app {

CRepairProfileDlg::CRepairProfileDlg(QWidget* parent, IHost& host, RepairChoices& choices)
    : CWizardPage(QStringLiteral("CRepairProfileDlg"), parent)
{
    Body().addWidget(MakeHeading(QStringLiteral("Select the file and click next to repair:")));
    Body().addWidget(MakeText(QStringLiteral(
        "If you have multiple Outlook profiles or profiles for multiple users on your computer then all the "
        "associated PST files will be listed here. Thus, you can select the PST file that needs to be "
        "repaired.")));
    auto* list = new CTXListCtrl(100, this);
    GiveRestOfHeight(*list);
    for (const auto& folder : host.DefaultMailFolders())
        list->Append(FindStores(folder));
    Body().addWidget(list, 1);
    AddAccelerator(Qt::ALT | Qt::Key_F, list);
    list->setFocus();

    CSkinButton* next = MakeNextButton();
    AddFooter(WizardPage::Start, next);
    connect(next, &QPushButton::clicked, this, [this] { GoTo(WizardPage::Scan); });
    connect(list, &CTXListCtrl::Chosen, this, [next, &choices](const std::filesystem::path& file) {
        choices.SetSource(file);
        next->setEnabled(true);
    });
    connect(list, &CTXListCtrl::NoneChosen, this, [next] { next->setEnabled(false); });
}

}  // namespace pastille::app
