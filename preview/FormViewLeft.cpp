#include "preview/FormViewLeft.h"

#include <QGroupBox>
#include <QSignalBlocker>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <exception>
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

    void ShowUnreadable() { setText(0, ShownLine(m_name) + QStringLiteral(" (cannot be read)")); }

    std::u16string containerClass;
    bool isInStore = false;  ///< found there, not only told of

private:
    std::u16string m_key;
    std::u16string m_name;
};

CFormViewLeft::CFormViewLeft(QWidget* parent, IPreviewFrame& frame)
    : QWidget(parent), m_frame(frame), m_opening(*this), m_reading(*this)
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
    m_opening.Cancel();
    m_reading.Cancel();
    m_isReady = false;
    m_isOpening = false;
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
    const auto fail = [this, show](const std::string& reason) {
        SetOpening(false);
        Answer();
        show.failed(reason);
    };
    const auto open = [this, show, fail](IJobOwner& owner) {
        try {
            owner.Deliver([this, show, store = show.open()] { Open(store, show); });
        } catch (const std::exception& error) {
            owner.Deliver([fail, reason = std::string(error.what())] { fail(reason); });
        }
    };
    SetOpening(true);
    if (!m_opening.Start(open))
        fail("The host has no thread left for it.");
}

void CFormViewLeft::Open(const std::shared_ptr<CPreviewStore>& store, const StoreShow& show)
{
    m_reading.Cancel();
    m_above.clear();
    if (show.anew)
        Empty();
    CNode* root = MakeRoot(store->Name());
    const QString file = ShownText(QString::fromStdString(store->Path().native()));
    root->setToolTip(0, file);
    if (store->Name().empty())
        root->setText(0, file.section(u'/', -1));
    show.opened(store);
    m_isReady = show.anew;
    SetOpening(false);
    SetReading(true);
    const FolderReading reading{store,
                                [this](const std::vector<FoundFolder>& some) {
                                    for (const FoundFolder& folder : some)
                                        Show(folder);
                                },
                                [this, show] { Complete(show); }};
    if (!m_reading.Start([reading](IJobOwner& owner) { ReadFolders(reading, owner); }))
        Complete(show);
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
    if (!folder.items)
        node->ShowUnreadable();
    else if (node != m_root || *folder.items != 0)
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
    Answer();
}

/// Shows what was chosen before it could be shown.
void CFormViewLeft::Answer()
{
    if (QTreeWidgetItem* wanted = std::exchange(m_wanted, nullptr))
        Route(wanted);
}

void CFormViewLeft::SetOpening(bool isOpening)
{
    m_isOpening = isOpening;
    m_tree->setCursor(m_isOpening || m_isReading ? Qt::BusyCursor : Qt::ArrowCursor);
}

void CFormViewLeft::SetReading(bool isReading)
{
    m_isReading = isReading;
    SetOpening(m_isOpening);
}

void CFormViewLeft::Route(QTreeWidgetItem* item)
{
    if ((m_isOpening || m_isReading) && !m_isReady)
        m_wanted = item;
    if (!m_isReady || item == nullptr || m_frame.IsListFilling())
        return;
    auto* node = static_cast<CNode*>(item);
    m_routed = node;
    const auto found = std::ranges::find(kGridClasses, node->containerClass, &ClassFamily::containerClass);
    if (found == std::end(kGridClasses)) {
        m_frame.ShowMails(node->Key());
        return;
    }
    // The grid's dialog waits for its end: the selection comes first.
    QMetaObject::invokeMethod(
        this, [this, family = found->family, key = node->Key()] { m_frame.ShowItems(family, key); },
        Qt::QueuedConnection);
}

void CFormViewLeft::Reselect()
{
    const QSignalBlocker noRouting(m_tree);
    if (m_routed != nullptr)
        m_tree->setCurrentItem(m_routed);
}

}  // namespace pastille::preview
