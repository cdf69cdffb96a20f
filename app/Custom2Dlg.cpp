#include "app/Custom2Dlg.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

#include "app/DialogUnits.h"
#include "app/HostPath.h"
#include "app/SkinRadioButton.h"
#include "app/Strings.h"

namespace pastille::app {

CCustom2Dlg::CCustom2Dlg(QWidget* parent, RepairChoices& choices, WizardPage origin)
    : CWizardPage(QStringLiteral("CCustom2Dlg"), parent), m_choices(choices)
{
    m_choices.settings.smartScan = false;
    m_choices.settings.complete = false;
    AddMethods();
    AddDestination();

    m_repair = new CSkinButton(QStringLiteral("&Repair"), QStringLiteral("next"),
                               CSkinButton::IconSide::Right, this);
    m_repair->setEnabled(false);
    AddFooter(origin, m_repair);
    connect(m_repair, &QPushButton::clicked, this, [this] {
        LookAgain();
        if (m_repair->isEnabled())
            accept();
    });
}

void CCustom2Dlg::AddMethods()
{
    Body().addWidget(MakeHeading(QStringLiteral("Select the appropriate scanning method")));
    auto* group = new QButtonGroup(this);
    auto* row = new QHBoxLayout;
    for (const bool smart : {false, true}) {
        auto* button = new CSkinRadioButton(Text(smart ? strings::kSmartScan : strings::kNormalScan),
                                            DialogUnits(*this, 90, 18), this);
        button->setShortcut(QKeySequence(Qt::ALT | (smart ? Qt::Key_S : Qt::Key_N)));
        button->setChecked(!smart);
        group->addButton(button, smart ? 1 : 0);
        row->addWidget(button);
    }
    row->addStretch();
    group->button(0)->setFocus();
    Body().addLayout(row);
    connect(group, &QButtonGroup::idToggled, this, [this](int id, bool checked) {
        if (checked)
            m_choices.settings.smartScan = id == 1;
    });
    AddCompleteRecovery();
    Body().addWidget(MakeText(QStringLiteral(
        "Normal Scan: Linear yet advanced PST repair method. This scan is suitable when your PST file has "
        "minor corruptions or when Outlook refuses to open due to PST errors.\n\nSmart Scan: Extremely "
        "advanced PST repair mode. This scan is ideal when your PST file has severe corruption, your PST "
        "file is broken, you are looking to recover deleted emails, contacts, tasks etc..")));
    Body().addStretch();
}

void CCustom2Dlg::AddCompleteRecovery()
{
    auto* box = new QCheckBox(Text(strings::kCompleteRecovery), this);
    box->setShortcut(QKeySequence(Qt::ALT | Qt::Key_C));
    box->setToolTip(
        QStringLiteral("Every item of any kind, with all its properties, once, in its newest version"));
    connect(box, &QCheckBox::toggled, this, [this](bool checked) { m_choices.settings.complete = checked; });
    Body().addWidget(box, 0, Qt::AlignLeft);
}

void CCustom2Dlg::AddDestination()
{
    Body().addWidget(MakeHeading(
        QStringLiteral("Click browse to select destination path, where new PST file will be created")));
    QLabel* label = MakeText(QStringLiteral("Select destination path :"));
    m_folder = new QLineEdit(this);
    m_folder->setReadOnly(true);
    label->setBuddy(m_folder);
    AddAccelerator(Qt::ALT | Qt::Key_D, m_folder);
    CSkinButton* browse = MakeBrowseButton();
    auto* row = new QHBoxLayout;
    row->addWidget(m_folder, 1);
    row->addWidget(browse);
    Body().addWidget(label);
    Body().addLayout(row);
    Body().addStretch();
    connect(browse, &QPushButton::clicked, this, &CCustom2Dlg::Browse);
}

void CCustom2Dlg::Browse()
{
    QFileDialog dialog(this, QStringLiteral("Select destination path to save recovered file."));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    const QString folder = QFile::decodeName(m_choices.settings.destinationFolder.c_str());
    dialog.setDirectory(!folder.isEmpty() && QFileInfo(folder).isDir() ? folder : QDir::homePath());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    m_chosen = ToPath(QDir::cleanPath(dialog.selectedFiles().first()));
    m_choices.settings.destinationFolder = m_chosen;
    m_folder->setText(ShownPath(m_chosen));
    LookAgain();
}

void CCustom2Dlg::LookAgain()
{
    std::error_code error;
    m_repair->setEnabled(std::filesystem::is_directory(m_chosen, error));
}

}  // namespace pastille::app
