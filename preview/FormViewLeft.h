#pragma once

#include <QWidget>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "preview/FolderReader.h"
#include "preview/Job.h"
#include "preview/PreviewFrame.h"

class QTreeWidget;
class QTreeWidgetItem;

namespace pastille::preview {

/// The left pane: the folders of a store. While a run goes it grows with what the run tells; after that a
/// selection shows the folder's items.
class CFormViewLeft final : public QWidget {
    Q_OBJECT

public:
    /// A folder that a run has told of.
    struct Announced {
        std::uint32_t folderId;
        std::u16string path;  ///< below the top; "" for the top itself
        std::u16string containerClass;
    };

    /// The frame must outlive the pane.
    CFormViewLeft(QWidget* parent, IPreviewFrame& frame);
    ~CFormViewLeft() override;

    /// Empties the tree; selections are shown nowhere until a store is shown.
    void BeginRun();
    /// Makes sure that a folder and those above it are in the tree, and selects it.
    void AddFolders(const std::u16string& storeName, std::span<const Announced> folders);
    /// Puts the number of items behind the folder's name.
    void ShowCount(const std::u16string& path, std::uint64_t items);

    struct StoreShow {
        /// Called beside the windows' thread; may raise.
        std::function<std::shared_ptr<CPreviewStore>()> open;
        std::function<void(std::shared_ptr<CPreviewStore>)> opened;
        std::function<void(std::string)> failed;  ///< why it cannot be opened, UTF-8
        bool anew;  ///< else the folders that a run has told of stay where they are
    };
    /// Opens a store, reads its folders and lets the user choose among them. Returns at once. A store that
    /// cannot be opened leaves everything as it is.
    void ShowStore(const StoreShow& show);
    /// The items of the selected folder are all there: its node is selected again.
    void Reselect();

private:
    class CNode;
    CNode* MakeRoot(const std::u16string& storeName);
    CNode* Find(const std::u16string& key) const;
    /// The node of a key; made as the last child of its parent when it is not there.
    CNode* Ensure(CNode& parent, const std::u16string& key, const std::u16string& name);
    CNode* EnsurePath(const std::u16string& storeName, const std::u16string& path);
    void Empty();
    void Show(const FoundFolder& folder);
    void Complete(StoreShow show);
    void Open(const std::shared_ptr<CPreviewStore>& store, const StoreShow& show);
    void SetOpening(bool isOpening);
    void SetReading(bool isReading);
    void Answer();
    void Route(QTreeWidgetItem* item);

    IPreviewFrame& m_frame;
    QTreeWidget* m_tree = nullptr;
    CNode* m_root = nullptr;
    CNode* m_routed = nullptr;            ///< whose items the right upper pane shows
    QTreeWidgetItem* m_wanted = nullptr;  ///< chosen before the store was read, to be shown then
    bool m_isReady = false;
    bool m_isOpening = false;
    bool m_isReading = false;
    bool m_hasGhosts = false;                            ///< told of by the run, but not so in the store
    std::unordered_map<std::u16string, CNode*> m_nodes;  ///< by key
    std::vector<CNode*> m_above;                         ///< of the folder found last, by level
    CJob m_opening;
    CJob m_reading;
};

}  // namespace pastille::preview
