#pragma once

#include <QDialog>
#include <QList>

#include "app/Commands.h"

class QListWidget;

namespace pastille::app {

/// Lets the user choose the commands of the toolbar.
class CCustomizeSheet final : public QDialog {
    Q_OBJECT

public:
    CCustomizeSheet(QWidget* parent, const QList<Command>& shown);

    /// The commands chosen, in their order on the toolbar.
    QList<Command> Commands() const;

private:
    void Check(const QList<Command>& shown);

    QListWidget* m_list;
};

}  // namespace pastille::app
