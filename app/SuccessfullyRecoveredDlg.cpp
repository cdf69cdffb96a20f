#include "app/SuccessfullyRecoveredDlg.h"

#include <QDialogButtonBox>
#include <QFontInfo>
#include <QGridLayout>
#include <QIcon>
#include <QPushButton>

#include <algorithm>
#include <utility>

#include "app/HostPath.h"
#include "app/Labels.h"
#include "app/LinkButton.h"
#include "app/Manual.h"
#include "app/Strings.h"

namespace pastille::app {
namespace {

/// Labels side by side, as one line of text.
QLayout* Line(std::initializer_list<QWidget*> widgets)
{
    auto* line = new QHBoxLayout;
    line->setSpacing(0);
    for (QWidget* widget : widgets)
        line->addWidget(widget);
    line->addStretch();
    return line;
}

}  // namespace

CSuccessfullyRecoveredDlg::CSuccessfullyRecoveredDlg(QWidget* parent, IHost& host, const RunResult& result)
    : QDialog(parent), m_host(host)
{
    setObjectName(QStringLiteral("CSuccessfullyRecoveredDlg"));
    setWindowTitle(Text(strings::kInformation));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    auto* picture = new QLabel(this);
    picture->setPixmap(QIcon(QStringLiteral(":/images/completed.svg")).pixmap(96, 96));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* grid = new QGridLayout(this);
    grid->setSpacing(12);
    grid->addWidget(picture, 0, 0, Qt::AlignTop | Qt::AlignLeft);
    grid->addWidget(MakeHeading(), 0, 1);
    grid->addWidget(MakeCounts(result.counts), 1, 1);
    AddLinks(*grid, result.outputFolder);
    if (result.account)
        AddAccount(*grid, result);
    grid->addWidget(buttons, grid->rowCount(), 0, 1, 2);
    buttons->button(QDialogButtonBox::Ok)->setFocus();
}

QWidget* CSuccessfullyRecoveredDlg::MakeHeading()
{
    constexpr int kHeight = 15;  // pixels; never smaller than the other texts
    QLabel* heading =
        MakeBoldLabel(this, QStringLiteral("Your Outlook PST File has been repaired!!!\n\n"
                                           "Following items have been successfully recovered:"));
    QFont font = heading->font();
    font.setPixelSize(std::max(kHeight, QFontInfo(font).pixelSize()));
    heading->setFont(font);
    return heading;
}

QWidget* CSuccessfullyRecoveredDlg::MakeCounts(const recovery::SummaryCounts& counts)
{
    const std::pair<const char*, std::uint64_t> rows[] = {
        {"Emails :", counts.mails},      {"Contacts :", counts.contacts}, {"Tasks :", counts.tasks},
        {"Calendar :", counts.calendar}, {"Journals :", counts.journals}, {"Notes :", counts.notes},
        {"Total items :", counts.total},
    };
    auto* area = new QWidget(this);
    auto* grid = new QGridLayout(area);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(24);
    grid->setColumnStretch(2, 1);
    int row = 0;
    for (const auto& [label, count] : rows) {
        grid->addWidget(MakeLabel(area, QString::fromLatin1(label)), row, 0);
        QLabel* value = MakeBoldLabel(area, QString::number(count));
        value->setAccessibleName(QString::fromLatin1(label) + QLatin1Char(' ') + value->text());
        grid->addWidget(value, row++, 1, Qt::AlignRight);
    }
    return area;
}

void CSuccessfullyRecoveredDlg::AddLinks(QGridLayout& grid, const std::filesystem::path& outputFolder)
{
    QWidget* destination =
        MakeLink(QStringLiteral("destination path"), ShownPath(outputFolder), FileAddress(outputFolder));
    QWidget* howTo = MakeLink(QStringLiteral("Click Here"), QStringLiteral("How to import"),
                              FileAddress(ManualPage(m_host, "import.html")));
    grid.addLayout(Line({MakeBoldLabel(this, QStringLiteral("Please check ")), destination,
                         MakeBoldLabel(this, QStringLiteral(" for repaired PST file."))}),
                   2, 0, 1, 2);
    grid.addLayout(
        Line({howTo,
              MakeBoldLabel(this, QStringLiteral(" to see the procedure for \"How to import PST file?\"."))}),
        3, 0, 1, 2);
}

/// What the source told of, and what of it came back.
void CSuccessfullyRecoveredDlg::AddAccount(QGridLayout& grid, const RunResult& result)
{
    const recovery::complete::ItemCounts& account = *result.account;
    const QString counts = QStringLiteral(
                               "Complete recovery, hidden items included: %1 expected,\n%2 written, %3 of "
                               "them in part; %4 lost.")
                               .arg(account.expected)
                               .arg(account.written)
                               .arg(account.partial)
                               .arg(account.lost);
    QLabel* label = MakeLabel(this, counts);
    label->setObjectName(QStringLiteral("account"));
    QWidget* report =
        MakeLink(QStringLiteral("report"), ShownPath(result.report), FileAddress(result.report));
    grid.addWidget(label, 4, 0, 1, 2);
    grid.addLayout(Line({MakeBoldLabel(this, QStringLiteral("What is missing stands in the ")), report,
                         MakeBoldLabel(this, QStringLiteral("."))}),
                   5, 0, 1, 2);
}

QWidget* CSuccessfullyRecoveredDlg::MakeLink(const QString& text, const QString& toolTip,
                                             const QString& address)
{
    auto* link = new CLinkButton(text, this);
    QFont font = link->font();
    font.setBold(true);
    link->setFont(font);
    // A folder's name is no markup.
    link->setToolTip(QStringLiteral("<span>%1</span>").arg(toolTip.toHtmlEscaped()));
    connect(link, &QAbstractButton::clicked, this, [this, address] { m_host.Open(address); });
    return link;
}

}  // namespace pastille::app
