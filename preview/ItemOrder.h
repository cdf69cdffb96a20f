#pragma once

#include <QSortFilterProxyModel>

namespace pastille::preview {

/// The rows that the user wants to see, in the order that the user wants: store order and all of them, until
/// a column is chosen or something is looked for.
class CItemOrder final : public QSortFilterProxyModel {
    Q_OBJECT

public:
    explicit CItemOrder(QObject* parent);

    /// Leaves the rows in which some column holds the text, whatever its case; "" for all.
    void Look(const QString& text);

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    QString m_text;
};

}  // namespace pastille::preview
