#pragma once

#include <QTreeView>

#include "preview/GridRows.h"

namespace pastille::preview {

class CGridModel;

/// Shows a grid model: categories as bold bands, expanded at first, and lines between label and value. Ctrl+C
/// copies a value; Enter or a double click opens it where it stands, with all its lines, to be read.
class CGridTree final : public QTreeView {
    Q_OBJECT

public:
    CGridTree(CGridModel& model, QWidget* parent);

    /// Makes the first column as wide as the table's labels.
    void FitLabels(const GridTable& table);

protected:
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                 const QModelIndex& index) const override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Expand(int first, int last);
    void DrawCategory(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index) const;
    void Copy() const;
    void OpenValue(const QModelIndex& index);

    const GridTable* m_table;
    int m_expandedRows = 0;
};

}  // namespace pastille::preview
