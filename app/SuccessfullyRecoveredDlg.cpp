#include "app/SuccessfullyRecoveredDlg.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QUrl>

#include <utility>

#include "app/Manual.h"
#include "app/Strings.h"
#include "platform/Text.h"

namespace pastille::app {
namespace {

QLabel* MakeLabel(QWidget* parent, const QString& text, bool bold)
{
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setBold(bold);
    label->setFont(font);
    return label;
}

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

CSuccessfullyRecoveredDlg::CSuccessfullyRecoveredDlg(QWidget* parent, IHost& host,
                                                     const recovery::SummaryCounts& counts,
                                                     const std::filesystem::path& outputFolder)
    : QDialog(parent), m_host(host)
{
    setObjectName(QStringLiteral("CSuccessfullyRecoveredDlg"));
    setWindowTitle(Text(strings::kInformation));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    auto* picture = new QLabel(this);
    picture->setPixmap(QIcon(QStringLiteral(":/images/completed.svg")).pixmap(96, 96));
    auto* heading = MakeLabel(this,
                              QStringLiteral("Your Outlook PST File has been repaired!!!\n\n"
                                             "Following items have been successfully recovered:"),
                              true);
    QFont font = heading->font();
    font.setPixelSize(15);
    heading->setFont(font);

    auto* destination = MakeLink(QStringLiteral("destination path"), Text(platform::PathText(outputFolder)),
                                 FileAddress(outputFolder));
    auto* howTo = MakeLink(QStringLiteral("Click Here"), QStringLiteral("How to import"),
                           FileAddress(ManualPage(host, "import.html")));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto* grid = new QGridLayout(this);
    grid->setSpacing(12);
    grid->addWidget(picture, 0, 0, Qt::AlignTop | Qt::AlignLeft);
    grid->addWidget(heading, 0, 1);
    grid->addWidget(MakeCounts(counts), 1, 1);
    grid->addLayout(Line({MakeLabel(this, QStringLiteral("Please check "), true), destination,
                          MakeLabel(this, QStringLiteral(" for repaired PST file."), true)}),
                    2, 0, 1, 2);
    grid->addLayout(
        Line({howTo, MakeLabel(this, QStringLiteral(" to see the procedure for \"How to import PST file?\"."),
                               true)}),
        3, 0, 1, 2);
    grid->addWidget(buttons, 4, 0, 1, 2);
    buttons->button(QDialogButtonBox::Ok)->setFocus();
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
        grid->addWidget(MakeLabel(area, QString::fromLatin1(label), false), row, 0);
        auto* value = MakeLabel(area, QString::number(count), true);
        value->setAccessibleName(QString::fromLatin1(label) + QLatin1Char(' ') + value->text());
        grid->addWidget(value, row++, 1, Qt::AlignRight);
    }
    return area;
}

QLabel* CSuccessfullyRecoveredDlg::MakeLink(const QString& text, const QString& toolTip,
                                            const QString& address)
{
    auto* link = MakeLabel(this, QStringLiteral("<a href=\"#\">%1</a>").arg(text.toHtmlEscaped()), true);
    link->setTextFormat(Qt::RichText);
    link->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    link->setFocusPolicy(Qt::StrongFocus);
    link->setAccessibleName(text);
    // A folder's name is no markup.
    link->setToolTip(QStringLiteral("<span>%1</span>").arg(toolTip.toHtmlEscaped()));
    connect(link, &QLabel::linkActivated, this, [this, address] { m_host.Open(address); });
    return link;
}

}  // namespace pastille::app
