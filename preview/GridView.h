#pragma once

#include <QPointer>
#include <QWidget>

#include <memory>
#include <string>

#include "preview/GridRows.h"
#include "preview/PreviewStore.h"

namespace pastille::preview {

class CGridModel;
class CGridTree;
class CUPDialog;

/// The right upper pane for a folder of items other than mails: one category an item, one row a property.
class CGridView final : public QWidget {
    Q_OBJECT

public:
    explicit CGridView(QWidget* parent);

    /// Fills the grid anew with every item of the folder, under a modal progress dialog that can be
    /// cancelled. Returns when that is closed; events are handled meanwhile, so the view may be gone then.
    /// What cannot be read shows no value.
    void Fill(GridFamily family, std::shared_ptr<CPreviewStore> store, const std::u16string& folderKey);

private:
    void Empty(GridFamily family);

    CGridModel* m_model;
    CGridTree* m_tree;
    QPointer<CUPDialog> m_dialog;
    unsigned m_fill = 0;  ///< counts what makes older items unwanted
};

}  // namespace pastille::preview
