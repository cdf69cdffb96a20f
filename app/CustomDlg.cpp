#include "app/CustomDlg.h"

#include <QButtonGroup>
#include <QVBoxLayout>

#include "app/DialogUnits.h"
#include "app/SkinRadioButton.h"

namespace pastille::app {

CCustomDlg::CCustomDlg(QWidget* parent) : CWizardPage(QStringLiteral("CCustomDlg"), parent)
{
    struct Choice {
        const char16_t* text;
        WizardPage page;
        Qt::Key key;
    };
    static constexpr Choice kChoices[] = {
        {u"Open Default PST File", WizardPage::DefaultFolders, Qt::Key_O},
        {u"Select PST File Manually", WizardPage::Browse, Qt::Key_M},
        {u"Find All Your PST Files", WizardPage::Search, Qt::Key_F},
    };
    // The size in points that a font has that was set in pixels, too.
    QFont font(QStringLiteral("Arial"), QFontInfo(this->font()).pointSize() + 2, QFont::Bold);
    auto* group = new QButtonGroup(this);
    Body().addStretch();
    for (const Choice& choice : kChoices) {
        auto* button =
            new CSkinRadioButton(QString::fromUtf16(choice.text), DialogUnits(*this, 190, 28), this);
        button->setFont(font);
        button->setShortcut(QKeySequence(Qt::ALT | choice.key));
        group->addButton(button, static_cast<int>(choice.page));
        Body().addWidget(button, 0, Qt::AlignHCenter);
    }
    group->buttons().first()->setChecked(true);
    group->buttons().first()->setFocus();
    Body().addStretch();

    CSkinButton* next = MakeNextButton();
    next->setEnabled(true);
    AddFooter(WizardPage::None, next);
    connect(next, &QPushButton::clicked, this,
            [this, group] { GoTo(static_cast<WizardPage>(group->checkedId())); });
}

}  // namespace pastille::app
