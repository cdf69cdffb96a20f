#include "preview/GridView.h"

#include <QVBoxLayout>

#include <utility>

#include "preview/GridLoader.h"
#include "preview/GridModel.h"
#include "preview/GridTree.h"
#include "preview/UPDialog.h"

namespace pastille::preview {

CGridView::CGridView(QWidget* parent)
    : QWidget(parent), m_model(new CGridModel(this)), m_tree(new CGridTree(*m_model, this))
{
    setObjectName(QStringLiteral("CGridView"));
    m_tree->setAccessibleName(QStringLiteral("Properties"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_tree);
    setFocusProxy(m_tree);
}

void CGridView::Empty(GridFamily family)
{
    ++m_fill;
    if (m_dialog)
        m_dialog->Cancel();
    m_model->Clear(family);
    m_tree->FitLabels(GridTableOf(family));
}

void CGridView::Fill(GridFamily family, std::shared_ptr<CPreviewStore> store, const std::u16string& folderKey)
{
    Empty(family);
    const QPointer<CGridView> self(this);
    auto deliver = [self, fill = m_fill](CUPJob& job, std::vector<CGridItem> items) {
        job.Post([self, fill, items = std::move(items)](CUPDialog&) mutable {
            if (self && self->m_fill == fill)
                self->m_model->Append(std::move(items));
        });
    };
    const auto caption = GridTableOf(family).progressCaption;
    const QPointer<CUPDialog> dialog(
        new CUPDialog(window(), QString::fromUtf16(caption.data(), static_cast<qsizetype>(caption.size())),
                      true, MakeGridLoader(family, std::move(store), folderKey, std::move(deliver))));
    m_dialog = dialog;
    dialog->Run();
    delete dialog;
    if (self)
        m_model->Finish();
}

}  // namespace pastille::preview
