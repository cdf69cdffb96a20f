#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "recovery/RecoveryRun.h"
#include "recovery/complete/Account.h"
#include "recovery/complete/PropertyCopier.h"
#include "recovery/complete/SourceFolders.h"
#include "store/OutLook.h"
#include "writer/WholeItems.h"

namespace pastille::recovery::complete {

/// A folder of the new store that gets items.
struct MadeFolder {
    writer::CRef<writer::IStoreFolder> folder;
    writer::CRef<writer::IWholeFolder> whole;
    std::u16string path;  ///< "\" before each name; "" for the root
    std::u16string containerClass;
    std::uint32_t id = 0;     ///< as FolderMessage tells it
    std::size_t account = 0;  ///< of the account
};

/// Makes the source's folders in the new store, with their properties, and those that the run needs itself.
/// Two folders of one name under one parent both come, the second one with a number behind its name.
///
/// Members raise _com_error only when the file below the new store cannot be written, but for the folders of
/// the run itself, which raise what the component raises.
class CFolderMaker {
public:
    /// All must outlive this object.
    CFolderMaker(store::RunContext& run, RecoveryRun& recovery, const CSourceFolders& source,
                 store::complete::CSourceBlocks& blocks, CPropertyCopier& properties, CCodePages& pages,
                 CAccount& account)
        : m_run(run),
          m_recovery(recovery),
          m_source(source),
          m_blocks(blocks),
          m_properties(properties),
          m_pages(pages),
          m_account(account)
    {
    }

    /// Makes the folders of the list. False when the run was stopped.
    bool MakeAll();
    /// The folder that a node of the source became; nullptr when it is none.
    const MadeFolder* Find(std::uint32_t nid) const;
    /// "Lost & Found", made when it is first asked for.
    const MadeFolder& LostAndFound();
    /// "Orphaned Mails".
    const MadeFolder& Orphans();
    /// "Deleted versions" below it.
    const MadeFolder& DeletedVersions();
    /// Tells the front end of every folder.
    void AnnounceAll() const;

private:
    MadeFolder Root();
    void Make(const FolderRecord& record);
    MadeFolder MakeUnder(const MadeFolder& parent, std::u16string_view name, const writer::Variant& type);
    std::u16string FreeName(const std::u16string& parentPath, const std::u16string& name);
    void TakeFacts(const FolderRecord& record, const MadeFolder& made);
    void CopyProperties(const FolderRecord& record, const MadeFolder& made);
    const MadeFolder& Own(std::optional<MadeFolder>& own, const MadeFolder& parent, std::u16string_view name,
                          std::uint32_t id);

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    const CSourceFolders& m_source;
    store::complete::CSourceBlocks& m_blocks;
    CPropertyCopier& m_properties;
    CCodePages& m_pages;
    CAccount& m_account;
    std::unordered_map<std::uint32_t, MadeFolder> m_made;              ///< by node id
    std::set<std::pair<std::u16string, std::u16string>> m_namesTaken;  ///< of the source's, below a path
    std::map<std::pair<std::u16string, std::u16string>, unsigned> m_nextNumbers;
    std::optional<MadeFolder> m_root, m_lostAndFound, m_orphans, m_deleted;
};

}  // namespace pastille::recovery::complete
