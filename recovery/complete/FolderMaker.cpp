#include "recovery/complete/FolderMaker.h"

#include "format/PropertyIds.h"
#include "platform/Text.h"
#include "recovery/FolderPhase.h"
#include "recovery/Guarded.h"
#include "recovery/Texts.h"

namespace pastille::recovery::complete {
namespace {

using namespace writer;

constexpr std::u16string_view kDeletedVersions = u"Deleted versions";
/// Characters of a folder name that the component takes.
constexpr std::size_t kLongestName = 255;

}  // namespace

MadeFolder CFolderMaker::Root()
{
    MadeFolder root;
    root.folder = m_recovery.output.store->GetRootFolder();
    root.whole = QueryInterface<IWholeFolder>(root.folder);
    root.containerClass = kMailFolderClass;
    root.account = m_account.AddFolder({});
    return root;
}

bool CFolderMaker::MakeAll()
{
    m_root = Root();
    for (const FolderRecord& record : m_recovery.folders.Records()) {
        if (m_run.state.MustStop())
            return false;
        if (m_source.IsRoot(record.nodeId)) {
            TakeFacts(record, *m_root);
            continue;
        }
        if (!Guarded([&] { Make(record); }))
            m_account.Add(
                {Loss::What::Folder, m_root->account, {record.nodeId, {}, {}, false}, {}, record.name, {}});
    }
    return true;
}

/// A folder that cannot be made leaves its items to the one that it hangs under.
void CFolderMaker::Make(const FolderRecord& record)
{
    const FolderRecord* const parent = m_recovery.folders.ParentOf(record.nodeId);
    const MadeFolder* const under = parent == nullptr ? nullptr : Find(parent->nodeId);
    const MadeFolder& place = under != nullptr ? *under : *m_root;
    MadeFolder& made = m_made[record.nodeId] = place;
    FolderRecord named = record;
    named.name = FreeName(place.path, record.name.substr(0, kLongestName));
    made = MakeUnder(place, named.name, NewFolderType(named));
    made.id = record.nodeId;
    made.containerClass = record.containerClass;
    made.account = m_account.AddFolder(made.path, record.nodeId);
    ++m_recovery.figures.folders;
    TakeFacts(record, made);
}

/// Its properties, and how many items it says that it has.
void CFolderMaker::TakeFacts(const FolderRecord& record, const MadeFolder& made)
{
    if (const SourceFolder* const source = m_source.Find(record.nodeId))
        m_account[made.account].statedItems = source->statedItems;
    CopyProperties(record, made);
}

std::u16string CFolderMaker::FreeName(const std::u16string& parentPath, const std::u16string& name)
{
    constexpr std::size_t kLongestSuffix = 16;
    unsigned& next = m_nextNumbers[{parentPath, name}];
    if (++next == 1 && m_namesTaken.emplace(parentPath, name).second)
        return name;
    for (;; ++next) {
        if (next == 1)
            continue;
        const std::u16string suffix = platform::FromUtf8(" (" + std::to_string(next) + ")");
        std::u16string free = name.substr(0, kLongestName - kLongestSuffix) + suffix;
        if (m_namesTaken.emplace(parentPath, free).second)
            return free;
    }
}

MadeFolder CFolderMaker::MakeUnder(const MadeFolder& parent, std::u16string_view name, const Variant& type)
{
    const auto siblings = parent.folder->GetFolders();
    const Variant index = std::u16string(name);
    MadeFolder made;
    made.folder = siblings->GetFolder(index);
    if (!made.folder) {
        siblings->AddFolder(name, type);
        made.folder = siblings->GetFolder(index);
        ++m_recovery.figures.foldersCreated;
        m_recovery.log.Write(u"\r\n" + LogName(name));
    }
    if (!made.folder)
        throw _com_error(E_FAIL, IStoreFolder::kInterfaceId);
    made.whole = QueryInterface<IWholeFolder>(made.folder);
    made.path = parent.path + u"\\" + std::u16string(name);
    return made;
}

void CFolderMaker::CopyProperties(const FolderRecord& record, const MadeFolder& made)
{
    const SourceFolder* const source = m_source.Find(record.nodeId);
    if (source == nullptr || !made.whole)
        return;
    const auto lose = [&](Loss::What what, const auto& fault, std::optional<std::uint32_t> tag) {
        m_account.Add({what, made.account, {record.nodeId, {}, {}, false}, tag, record.name, fault});
    };
    store::complete::CFoundObject object(m_blocks, source->properties);
    if (!object.Open()) {
        lose(Loss::What::Folder, object.Fault(), {});
        return;
    }
    if (!source->isNewest)
        lose(Loss::What::OlderVersion, std::optional<store::complete::SourceFault>(), {});
    const CItemText text(m_pages.PagesOf(object));
    m_properties.Copy(object, *made.whole, text,
                      [&](format::PropertyTag tag, const std::optional<store::complete::SourceFault>& fault,
                          bool) { lose(Loss::What::Property, fault, tag.Value()); });
    if (object.Fault())
        lose(Loss::What::Properties, object.Fault(), {});
}

const MadeFolder* CFolderMaker::Find(std::uint32_t nid) const
{
    if (m_source.IsRoot(nid))
        return m_root ? &*m_root : nullptr;
    const auto at = m_made.find(nid);
    return at == m_made.end() ? nullptr : &at->second;
}

const MadeFolder& CFolderMaker::Own(std::optional<MadeFolder>& own, const MadeFolder& parent,
                                    std::u16string_view name, std::uint32_t id)
{
    if (own)
        return *own;
    MadeFolder made = MakeUnder(parent, name, std::u16string(kMailFolderClass));
    made.id = id;
    made.containerClass = kMailFolderClass;
    made.account = m_account.AddFolder(made.path);
    m_run.frontEnd.Send(platform::FolderMessage{id, made.path, made.containerClass});
    own = std::move(made);
    return *own;
}

const MadeFolder& CFolderMaker::LostAndFound()
{
    return Own(m_lostAndFound, *m_root, kLostAndFound, platform::FolderMessage::kLostAndFound);
}

const MadeFolder& CFolderMaker::Orphans()
{
    return Own(m_orphans, *m_root, kOrphanedMails, platform::FolderMessage::kOrphanedMails);
}

const MadeFolder& CFolderMaker::DeletedVersions()
{
    return Own(m_deleted, Orphans(), kDeletedVersions, platform::FolderMessage::kOrphanedMails);
}

void CFolderMaker::AnnounceAll() const
{
    for (const FolderRecord& record : m_recovery.folders.Records()) {
        if (const MadeFolder* const made = Find(record.nodeId))
            m_run.frontEnd.Send(platform::FolderMessage{record.nodeId, made->path, made->containerClass});
    }
}

}  // namespace pastille::recovery::complete
