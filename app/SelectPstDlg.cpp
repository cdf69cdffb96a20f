#include "app/SelectPstDlg.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>

#include "app/ChooseStore.h"
#include "app/HostPath.h"
#include "app/StoreFiles.h"

namespace pastille::app {

CSelectPstDlg::CSelectPstDlg(QWidget* parent, RepairChoices& choices)
    : CWizardPage(QStringLiteral("CSelectPstDlg"), parent), m_choices(choices)
{
    Body().addWidget(
        MakeHeading(QStringLiteral("Click browse to locate the PST file that needs to be repaired")));
    Body().addWidget(MakeText(QStringLiteral(
        "\nDefault Store Path for Outlook PST file\n\nWindows XP or Windows Server 2003: %your "
        "drive%:\\Documents and Settings\\username\\Local Settings\\Application "
        "Data\\Microsoft\\Outlook\n\nWindows Vista or Windows 7: %your "
        "drive%:\\users\\username\\AppData\\Local\\Microsoft\\Outlook\n\n")));
    Body().addStretch();
    QLabel* label = MakeText(QStringLiteral("Select PST file :"));
    m_file = new QLineEdit(this);
    m_file->setReadOnly(true);
    label->setBuddy(m_file);
    AddAccelerator(Qt::ALT | Qt::Key_S, m_file);
    CSkinButton* browse = MakeBrowseButton();
    auto* row = new QHBoxLayout;
    row->addWidget(m_file, 1);
    row->addWidget(browse);
    Body().addWidget(label);
    Body().addLayout(row);
    Body().addStretch();
    browse->setFocus();

    m_next = MakeNextButton();
    if (!m_choices.offered.empty())
        Choose(m_choices.offered);
    AddFooter(WizardPage::Start, m_next);
    connect(browse, &QPushButton::clicked, this, &CSelectPstDlg::Browse);
    connect(m_next, &QPushButton::clicked, this, [this] {
        LookAgain();
        if (m_next->isEnabled())
            GoTo(WizardPage::Scan);
    });
}

void CSelectPstDlg::Browse()
{
    const auto chosen = ChooseStore(this, m_choices.settings.sourcePath);
    if (!chosen)
        return;
    m_choices.offered.clear();
    Choose(*chosen);
    LookAgain();
}

void CSelectPstDlg::Choose(const std::filesystem::path& file)
{
    m_chosen = file;
    m_choices.SetSource(file);
    m_file->setText(ShownPath(file));
}

void CSelectPstDlg::LookAgain()
{
    std::error_code error;
    const std::string name = m_chosen.filename().native();
    m_next->setEnabled(std::filesystem::exists(m_chosen, error) &&
                       (HasExtension(name, "pst") || HasExtension(name, "ost")));
}

}  // namespace pastille::app
