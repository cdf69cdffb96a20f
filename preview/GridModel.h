#pragma once

#include <QAbstractItemModel>

#include <vector>

#include "preview/GridItem.h"
#include "preview/GridRows.h"

namespace pastille::preview {

/// A category for each item, below it a label and a value for each row of the family's table. Text is shown
/// on one line each; a category's text is in the first column.
class CGridModel final : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { kLabel, kValue, kColumnCount };
    /// The value (the caption of a category) with its line breaks, as it is in the store.
    static constexpr int kStoredText = Qt::UserRole;

    explicit CGridModel(QObject* parent);

    void Clear(GridFamily family);
    /// Items come up in portions that grow with what is there, as each costs a layout of all.
    void Append(std::vector<CGridItem> items);
    /// Brings up what has not come up yet.
    void Finish();

    static bool IsCategory(const QModelIndex& index) { return index.isValid() && index.internalId() == 0; }

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    const CGridItem& ItemOf(const QModelIndex& index) const;
    /// REQUIRES: no category.
    std::u16string_view LabelOf(const QModelIndex& index) const;
    std::u16string_view TextOf(const QModelIndex& index) const;

    const GridTable* m_table;
    std::vector<CGridItem> m_items;    ///< that are shown
    std::vector<CGridItem> m_waiting;  ///< that are not yet
};

}  // namespace pastille::preview
