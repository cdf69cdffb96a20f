#include "preview/FormViewLeft.h"

#include <QGroupBox>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

#include "platform/Messages.h"
#include "preview/ShownText.h"

namespace pastille::preview {
namespace {

struct NamedImage {
    std::u16string_view name;
    int image;
};
constexpr NamedImage kImagesByName[] = {
    {u"Inbox", 1},    {u"Deleted Items", 2}, {u"Drafts", 3}, {u"Contacts", 4},
    {u"Calendar", 5}, {u"Notes", 6},         {u"Tasks", 7},  {u"Journals", 8},
};
constexpr std::u16string_view kLostAndFound = u"Lost & Found";
constexpr int kLostAndFoundImage = 9;
constexpr std::u16string_view kOrphanedMails = u"Orphaned Mails";
constexpr int kOrphanedMailsImage = 10;

/// In the order of the images' numbers.
constexpr const char* kImages[] = {"folder", "inbox", "deleted", "drafts", "contacts", "calendar",
                                   "notes",  "tasks", "journal", "lost",   "orphaned"};

int ImageOf(std::u16string_view name)
{
    for (const NamedImage& entry : kImagesByName)
        if (entry.name == name)
            return entry.image;
    return 0;
}

QIcon Image(int number)
{
    return QIcon(QStringLiteral(":/icons/tree/%1.svg").arg(QLatin1String(kImages[number])));
}

struct ClassFamily {
    std::u16string_view containerClass;
    GridFamily family;
};
/// Folders of every other class hold mails.
constexpr ClassFamily kGridClasses[] = {
    {u"IPM.Contact", GridFamily::Contacts},     {u"IPF.Contact", GridFamily::Contacts},
    {u"IPM.Task", GridFamily::Tasks},           {u"IPF.Task", GridFamily::Tasks},
    {u"IPM.Appointment", GridFamily::Calendar}, {u"IPF.Appointment", GridFamily::Calendar},
    {u"IPM.StickyNote", GridFamily::Notes},     {u"IPF.StickyNote", GridFamily::Notes},
    {u"IPM.Journal", GridFamily::Journals},     {u"IPF.Journal", GridFamily::Journals},
    {u"IPM.Activity", GridFamily::Journals},    {u"IPF.Activity", GridFamily::Journals},
};

std::u16string KeyOf(const std::u16string& storeName, const std::u16string& path)
{
    return u"\\\\" + storeName + path;
}

}  // namespace

class CFormViewLeft::CNode final : public QTreeWidgetItem {
public:
    CNode(std::u16string key, std::u16string name) : m_key(std::move(key)), m_name(std::move(name))
    {
        setText(0, ShownLine(m_name));
        SetImage(ImageOf(m_name));
    }

    const std::u16string& Key() const { return m_key; }
    void SetImage(int image) { setIcon(0, Image(image)); }
    void ShowCount(std::uint64_t items) { setText(0, ShownLine(m_name) + QStringLiteral("(%1)").arg(items)); }

    std::u16string containerClass;
    bool isInStore = false;  ///< found there, not only told of

private:
    std::u16string m_key;
    std::u16string m_name;
};

CFormViewLeft::CFormViewLeft(QWidget* parent, IPreviewFrame& frame)
    : QWidget(parent), m_frame(frame), m_reading(*this)
{
    setObjectName(QStringLiteral("CFormViewLeft"));
    auto* group = new QGroupBox(QStringLiteral("Folder list"), this);
    m_tree = new QTreeWidget(group);
    m_tree->setHeaderHidden(true);
    m_tree->setUniformRowHeights(true);
    m_tree->setAccessibleName(group->title());
    (new QVBoxLayout(group))->addWidget(m_tree);
    (new QVBoxLayout(this))->addWidget(group);
    setFocusProxy(m_tree);
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &CFormViewLeft::Route);
    // The node that a run has selected is not selected anew by a click on it.
    for (const auto signal : {&QTreeWidget::itemClicked, &QTreeWidget::itemActivated}) {
        connect(m_tree, signal, this, [this](QTreeWidgetItem* item) {
            if (item != m_routed)
                Route(item);
        });
    }
}

CFormViewLeft::~CFormViewLeft() = default;

void CFormViewLeft::BeginRun()
{
    m_reading.Cancel();
    m_isReady = false;
    SetReading(false);
    Empty();
}

void CFormViewLeft::Empty()
{
    m_root = nullptr;
    m_routed = nullptr;
    m_wanted = nullptr;
    m_nodes.clear();
    m_above.clear();
    m_hasGhosts = false;
    m_tree->clear();
}

CFormViewLeft::CNode* CFormViewLeft::MakeRoot(const std::u16string& storeName)
{
    if (m_root == nullptr) {
        m_root = new CNode(KeyOf(storeName, {}), storeName);
        m_root->SetImage(0);
        m_tree->addTopLevelItem(m_root);
        m_nodes.emplace(m_root->Key(), m_root);
        m_root->setExpanded(true);
    }
    return m_root;
}

CFormViewLeft::CNode* CFormViewLeft::Find(const std::u16string& key) const
{
    const auto found = m_nodes.find(key);
    return found == m_nodes.end() ? nullptr : found->second;
}

CFormViewLeft::CNode* CFormViewLeft::Ensure(CNode& parent, const std::u16string& key,
                                            const std::u16string& name)
{
    if (CNode* node = Find(key))
        return node;
    auto* node = new CNode(key, name);
    m_nodes.emplace(key, node);
    parent.addChild(node);
    return node;
}

CFormViewLeft::CNode* CFormViewLeft::EnsurePath(const std::u16string& storeName, const std::u16string& path)
{
    CNode* node = MakeRoot(storeName);
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find(u'\\', begin + 1), path.size());
        node = Ensure(*node, KeyOf(storeName, path.substr(0, end)), path.substr(begin + 1, end - begin - 1));
        begin = end;
    }
    return node;
}

void CFormViewLeft::AddFolders(const std::u16string& storeName, std::span<const Announced> folders)
{
    CNode* last = nullptr;
    for (const Announced& folder : folders) {
        last = EnsurePath(storeName, folder.path);
        if (!folder.containerClass.empty())
            last->containerClass = folder.containerClass;
        if (folder.folderId == platform::FolderMessage::kLostAndFound)
            last->SetImage(kLostAndFoundImage);
        if (folder.folderId == platform::FolderMessage::kOrphanedMails)
            last->SetImage(kOrphanedMailsImage);
    }
    if (last != nullptr)
        m_tree->setCurrentItem(last);
}

void CFormViewLeft::ShowCount(const std::u16string& path, std::uint64_t items)
{
    if (m_root == nullptr)
        return;
    if (CNode* node = Find(m_root->Key() + path))
        node->ShowCount(items);
}

void CFormViewLeft::ShowStore(const StoreShow& show)
{
    const bool wasReady = std::exchange(m_isReady, false);
    SetReading(true);
    m_above.clear();
    FolderReading reading;
    reading.open = show.open;
    reading.opened = [this, show](const std::shared_ptr<CPreviewStore>& store) {
        if (show.anew)
            Empty();
        MakeRoot(store->Name());
        show.opened(store);
        m_isReady = show.anew;
    };
    reading.found = [this](const std::vector<FoundFolder>& some) {
        for (const FoundFolder& folder : some)
            Show(folder);
    };
    reading.complete = [this, show] { Complete(show); };
    reading.failed = [this, show, wasReady](const std::string& reason) {
        m_isReady = wasReady;
        SetReading(false);
        show.failed(reason);
    };
    if (!m_reading.Start([reading](IJobOwner& owner) { ReadFolders(reading, owner); }))
        reading.failed("The host has no thread left for it.");
}

void CFormViewLeft::Show(const FoundFolder& folder)
{
    if (folder.level > m_above.size())
        return;
    m_above.resize(folder.level);
    CNode* node = m_root;
    if (folder.level != 0) {
        CNode& parent = *m_above.back();
        node = Ensure(parent, folder.key, folder.name);
        m_hasGhosts = m_hasGhosts || node->parent() != &parent;
        if (folder.level == 1 && folder.name == kLostAndFound)
            node->SetImage(kLostAndFoundImage);
        if (folder.level == 1 && folder.name == kOrphanedMails)
            node->SetImage(kOrphanedMailsImage);
    }
    m_above.push_back(node);
    node->isInStore = true;
    if (!folder.containerClass.empty())
        node->containerClass = folder.containerClass;
    if (folder.items && (node != m_root || *folder.items != 0))
        node->ShowCount(static_cast<std::uint64_t>(std::max(*folder.items, 0)));
}

/// A path cannot tell a backslash in a name from one between names, so a run may have told of folders that
/// are not there; then the tree is made anew from the store alone.
void CFormViewLeft::Complete(StoreShow show)
{
    m_hasGhosts = m_hasGhosts ||
                  std::ranges::any_of(m_nodes, [](const auto& entry) { return !entry.second->isInStore; });
    if (m_hasGhosts && !show.anew) {
        show.anew = true;
        ShowStore(show);
        return;
    }
    m_isReady = true;
    SetReading(false);
    if (QTreeWidgetItem* wanted = std::exchange(m_wanted, nullptr))
        Route(wanted);
}

void CFormViewLeft::SetReading(bool isReading)
{
    m_isReading = isReading;
    m_tree->setCursor(isReading ? Qt::BusyCursor : Qt::ArrowCursor);
}

void CFormViewLeft::Route(QTreeWidgetItem* item)
{
    if (m_isReading && !m_isReady)
        m_wanted = item;
    if (!m_isReady || item == nullptr || m_frame.IsListFilling())
        return;
    auto* node = static_cast<CNode*>(item);
    m_routed = node;
    for (const ClassFamily& entry : kGridClasses) {
        if (entry.containerClass == node->containerClass) {
            m_frame.ShowItems(entry.family, node->Key());
            return;
        }
    }
    m_frame.ShowMails(node->Key());
}

void CFormViewLeft::Reselect()
{
    const bool wasReady = std::exchange(m_isReady, false);
    if (m_routed != nullptr)
        m_tree->setCurrentItem(m_routed);
    m_isReady = wasReady;
}

}  // namespace pastille::preview
