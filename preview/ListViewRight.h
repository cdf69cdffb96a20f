#pragma once

#include <QWidget>

#include <cstdint>
#include <memory>
#include <string>

#include "preview/Job.h"
#include "preview/PreviewStore.h"

class QLineEdit;
class QTableView;

namespace pastille::preview {

class CDlgLoading;
class CItemModel;
class CItemOrder;

/// The right upper pane for a folder of mails: one row an item, in store order until the user chooses
/// another. While a run goes, a row for each mail that it brings back.
class CListViewRight final : public QWidget {
    Q_OBJECT

public:
    explicit CListViewRight(QWidget* parent);
    ~CListViewRight() override;

    /// Deletes all rows, and ends a fill.
    void Clear();
    /// A cell of a run: 1 begins a row with its From, 2 to 4 set the others of the row begun last. New rows
    /// come up with ShowRows.
    void SetCell(unsigned cell, const std::u16string& text);
    /// The row begun last is a mail that has lost its folder.
    void MarkOrphan();
    void ShowRows();

    /// Lists the items of the folder. Returns at once; rows come while the rest is read.
    void Fill(std::shared_ptr<CPreviewStore> store, const std::u16string& folderKey);
    bool IsFilling() const { return m_isFilling; }

signals:
    /// All items of the folder are listed, or no more of them can be.
    void Filled();
    /// The user looks at the item of that number (from 1) of the folder listed.
    void ItemChosen(const std::u16string& folderKey, std::int32_t number);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void MakeTable();
    void FitColumns();
    void MakeFindBox();
    void Look(const QString& text);
    void EndFill();
    void Choose(const QModelIndex& row);
    void FollowRows();

    CItemModel* m_items = nullptr;
    CItemOrder* m_order = nullptr;
    QTableView* m_table = nullptr;
    QLineEdit* m_find = nullptr;
    CDlgLoading* m_loading = nullptr;
    std::u16string m_folderKey;  ///< "" while the rows are a run's
    bool m_isFilling = false;
    bool m_isFollowing = true;  ///< the last row is kept in view, until the user looks elsewhere
    CJob m_filling;
};

}  // namespace pastille::preview
