// What the panes show: of a run while it goes, and of a store.

#include <QSplitter>

#include "app/ChooseStore.h"
#include "app/HostPath.h"
#include "app/MainFrame.h"
#include "app/MessageBox.h"
#include "app/PastilleApp.h"
#include "app/Strings.h"
#include "preview/DisplayBody.h"
#include "preview/FormViewLeft.h"
#include "preview/GridView.h"
#include "preview/ListViewRight.h"

namespace pastille::app {
namespace {

constexpr unsigned kGrid = 0;
constexpr unsigned kList = 1;

}  // namespace

void CMainFrame::SwitchUpperPane(unsigned view)
{
    if (view > 1)
        return;
    QWidget* old = m_upper;
    const QList<int> sizes = m_inner->sizes();
    const bool hadFocus =
        focusWidget() != nullptr && (focusWidget() == old || old->isAncestorOf(focusWidget()));
    // A child of the splitter would be in it already, behind the others.
    if (view == 0)
        m_upper = new preview::CGridView(this);
    else
        m_upper = MakeList(this);
    m_inner->replaceWidget(m_inner->indexOf(old), m_upper);
    m_upper->show();
    OrderTabs();
    m_inner->setSizes(sizes);
    if (hadFocus)
        m_upper->setFocus();
    delete old;
}

/// The Tab key goes from the folders through the upper pane to the body, whenever the pane was made.
void CMainFrame::OrderTabs()
{
    QWidget* last = m_folders->focusProxy();
    for (QWidget* widget : m_upper->findChildren<QWidget*>()) {
        if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr) {
            setTabOrder(last, widget);
            last = widget;
        }
    }
    setTabOrder(last, m_body);
}

preview::CListViewRight* CMainFrame::MakeList(QWidget* parent)
{
    auto* list = new preview::CListViewRight(parent);
    connect(list, &preview::CListViewRight::ItemChosen, this,
            [this](const std::u16string& folderKey, std::int32_t number) {
                m_body->ShowBody(m_store, folderKey, number);
            });
    connect(list, &preview::CListViewRight::Filled, m_folders, &preview::CFormViewLeft::Reselect);
    return list;
}

preview::CListViewRight* CMainFrame::List() const
{
    return qobject_cast<preview::CListViewRight*>(m_upper);
}

/// For a run that begins, or another store.
void CMainFrame::ClearPanes()
{
    if (List() == nullptr)
        SwitchUpperPane(kList);
    List()->Clear();
    m_body->ShowBlank();
    m_store.reset();
}

void CMainFrame::ShowRecovered(const RunPreview& recovered)
{
    std::vector<preview::CFormViewLeft::Announced> folders;
    preview::CListViewRight* list = List();
    for (const RunPreview::Message& message : recovered.messages) {
        if (const auto* folder = std::get_if<platform::FolderMessage>(&message))
            folders.push_back({folder->folderId, folder->folderPath, folder->containerClass});
        else if (const auto* cell = std::get_if<platform::ListCellMessage>(&message); cell && list)
            list->SetCell(cell->cell, cell->text);
        else if (list != nullptr)
            list->MarkOrphan();
    }
    if (list != nullptr)
        list->ShowRows();
    m_folders->AddFolders(recovered.storeName, folders);
}

void CMainFrame::ClearList()
{
    if (List() != nullptr)
        List()->Clear();
}

void CMainFrame::ShowCounts(const recovery::SummaryCounts& counts)
{
    for (const auto& folder : counts.folders)
        m_folders->ShowCount(folder.path, folder.items);
}

bool CMainFrame::IsListFilling() const
{
    return List() != nullptr && List()->IsFilling();
}

void CMainFrame::ShowMails(const std::u16string& folderKey)
{
    if (m_store == nullptr)
        return;
    if (List() == nullptr)
        SwitchUpperPane(kList);
    m_body->ShowBlank();
    List()->Fill(m_store, folderKey);
}

void CMainFrame::ShowItems(preview::GridFamily family, const std::u16string& folderKey)
{
    if (m_store == nullptr)
        return;
    if (List() != nullptr)
        SwitchUpperPane(kGrid);
    m_body->ShowBlank();
    qobject_cast<preview::CGridView*>(m_upper)->Fill(family, m_store, folderKey);
}

void CMainFrame::AskForStore()
{
    if (const auto chosen =
            ChooseStore(this, m_store != nullptr ? m_store->Path() : m_app.Choices().settings.sourcePath))
        OpenStore(*chosen);
}

void CMainFrame::OpenStore(const std::filesystem::path& path)
{
    if (!m_run.IsRunning())
        ShowStore(path, true);
}

void CMainFrame::ShowStoreOrRepair(const std::filesystem::path& path)
{
    ShowStore(path, true, [this, path] {
        m_app.Choices().offered = path;
        // The pane is to be done with the store first.
        QMetaObject::invokeMethod(this, &CMainFrame::OpenWizard, Qt::QueuedConnection);
    });
}

void CMainFrame::ShowStore(const std::filesystem::path& path, bool anew,
                           const std::function<void()>& afterFailure)
{
    const auto open = [&component = m_app.Component(), path, codePage = m_app.Choices().settings.codePage] {
        return std::make_shared<preview::CPreviewStore>(component, path, codePage);
    };
    const auto opened = [this](const std::shared_ptr<preview::CPreviewStore>& store) {
        ClearPanes();
        m_store = store;
    };
    const auto failed = [this, path, afterFailure](const std::string& reason) {
        ShowBox(
            this,
            QStringLiteral("This file cannot be opened: %1\n\nIt is no Outlook data file, or it is damaged. "
                           "\"Repair PST File\" brings back what is in a damaged one.\n\n%2")
                .arg(ShownPath(path), QString::fromStdString(reason)),
            Text(strings::kError), QMessageBox::Critical);
        if (afterFailure)
            afterFailure();
    };
    m_folders->ShowStore({open, opened, failed, anew});
}

}  // namespace pastille::app
