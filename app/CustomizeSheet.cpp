#include "app/CustomizeSheet.h"

#include <QDialogButtonBox>
#include <QIcon>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/Strings.h"

namespace pastille::app {

CCustomizeSheet::CCustomizeSheet(QWidget* parent, const QList<Command>& shown)
    : QDialog(parent), m_list(new QListWidget(this))
{
    setObjectName(QStringLiteral("CCustomizeSheet"));
    setWindowTitle(QStringLiteral("Customize"));
    auto* label = new QLabel(QStringLiteral("&Commands on the toolbar:"), this);
    label->setBuddy(m_list);
    for (const CommandInfo& command : AllCommands()) {
        if (*command.icon == '\0')
            continue;
        const QString text = Text(command.text)
                                 .replace(QLatin1String("&&"), QLatin1String("\x01"))
                                 .remove(u'&')
                                 .replace(u'\x01', u'&');
        auto* row = new QListWidgetItem(QIcon(QString::fromLatin1(command.icon)), text, m_list);
        row->setData(Qt::UserRole, static_cast<int>(command.command));
        row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    }
    Check(shown);
    auto* buttons = new QDialogButtonBox(
        QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::RestoreDefaults, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons->button(QDialogButtonBox::RestoreDefaults), &QPushButton::clicked, this,
            [this] { Check(DefaultToolBar()); });
    auto* column = new QVBoxLayout(this);
    column->addWidget(label);
    column->addWidget(m_list);
    column->addWidget(buttons);
}

void CCustomizeSheet::Check(const QList<Command>& shown)
{
    for (int row = 0; row < m_list->count(); ++row) {
        QListWidgetItem* item = m_list->item(row);
        const auto command = static_cast<Command>(item->data(Qt::UserRole).toInt());
        item->setCheckState(shown.contains(command) ? Qt::Checked : Qt::Unchecked);
    }
}

QList<Command> CCustomizeSheet::Commands() const
{
    QList<Command> commands;
    for (int row = 0; row < m_list->count(); ++row) {
        const QListWidgetItem* item = m_list->item(row);
        if (item->checkState() == Qt::Checked)
            commands.append(static_cast<Command>(item->data(Qt::UserRole).toInt()));
    }
    return commands;
}

}  // namespace pastille::app
