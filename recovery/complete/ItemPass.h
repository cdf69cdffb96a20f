#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "recovery/RecoveryRun.h"
#include "recovery/complete/FolderMaker.h"
#include "recovery/complete/MessageCopier.h"
#include "recovery/complete/SourceFolders.h"
#include "store/OutLook.h"

namespace pastille::recovery::complete {

/// True for a node that holds a message, whatever its class: one of those types, or of none that the format
/// knows and with a message class.
bool IsItem(store::complete::CSourceBlocks& blocks, const store::complete::CScannedSource& source,
            std::span<const store::complete::NodeVersion> versions);

/// Brings the items of the source's nodes over, each once, in its newest version that can be read.
///
/// Members raise _com_error only when the file below the new store cannot be written.
class CItemPass {
public:
    /// All must outlive this object.
    CItemPass(store::RunContext& run, RecoveryRun& recovery, store::complete::CScannedSource& source,
              store::complete::CSourceBlocks& blocks, const CSourceFolders& folders, CFolderMaker& maker,
              CMessageCopier& messages, CCodePages& pages, CAccount& account)
        : m_run(run),
          m_recovery(recovery),
          m_source(source),
          m_blocks(blocks),
          m_folders(folders),
          m_maker(maker),
          m_messages(messages),
          m_pages(pages),
          m_account(account)
    {
    }

    /// Live items, and those that a folder still lists. `passed` is told how many versions are done. False
    /// when the run was stopped.
    bool RecoverLive(const std::function<void(std::size_t)>& passed);
    /// Items that were deleted, into their own folder.
    bool RecoverDeleted(const std::function<void(std::size_t)>& passed);
    /// Adds to the account what could not be found: items that only tables tell of, and that only counts tell
    /// of.
    void AccountForMissing();

    /// A message to be copied.
    struct Found {
        store::complete::CFoundObject& message;  ///< opened; without properties when those are lost
        std::uint32_t nid = 0;                   ///< 0: it has no node
        std::uint32_t listedIn = 0;              ///< folder of the source whose table has its row; 0: none
        bool isAssociated = false;
        bool isNewest = true;  ///< its newest version
        OlderVersion older = [] { return nullptr; };
    };
    /// Copies a message into a folder, and tells account, log and front end.
    void CopyInto(const MadeFolder& folder, const Found& found);
    /// True when a message of that identity was copied before, in a newer version.
    bool IsKnown(store::complete::CFoundObject& message, const CItemText& text) const;
    /// Adds the live items of which no version could be read.
    void AddUnread(std::unordered_set<std::uint32_t>& nids) const;
    /// The item of that node id came back from an orphan.
    void NoteFound(std::uint32_t nid) { m_foundAsOrphans.insert(nid); }

private:
    /// An item that could not be read.
    struct Unread {
        std::uint32_t nid;
        std::uint32_t folder;  ///< node id; 0: unknown
        std::optional<store::complete::SourceFault> fault;
    };

    bool ForEachItem(const std::function<void(std::size_t)>& passed, bool isDeleted);
    void Recover(std::span<const store::complete::NodeVersion> versions, bool isDeleted);
    std::unique_ptr<store::complete::CFoundObject> OpenOlder(
        store::complete::CFoundObject& message, std::span<const store::complete::NodeVersion> versions,
        const CItemText& text);
    void CopyNode(std::span<const store::complete::NodeVersion> versions, Found found, bool isDeleted);
    bool RecoverWithoutContext(std::span<const store::complete::NodeVersion> versions);
    void CopyFromRow(std::uint32_t folder, std::uint32_t nid, const store::complete::CFoundObject& message,
                     writer::IWholeMessage& target, const CItemText& text);
    store::complete::CFoundTable* TableOf(std::uint32_t folder, bool isAssociated);
    const MadeFolder* FolderOf(std::span<const store::complete::NodeVersion> versions) const;
    std::uint32_t KnownFolder(std::span<const store::complete::NodeVersion> versions) const;
    void LoseUnread(const Unread& unread, KnownItem item);
    void DescribeUnread(std::uint32_t folder, std::span<const Unread> unread);
    void ShowRow(const KnownItem& item, store::complete::CFoundObject& message, const CItemText& text,
                 const MadeFolder& folder);

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    store::complete::CScannedSource& m_source;
    store::complete::CSourceBlocks& m_blocks;
    const CSourceFolders& m_folders;
    CFolderMaker& m_maker;
    CMessageCopier& m_messages;
    CCodePages& m_pages;
    CAccount& m_account;
    std::vector<Unread> m_unread;
    std::uint32_t m_lastCounted = 0;                 ///< node id
    std::unordered_set<std::uint64_t> m_identities;  ///< of the items copied, in a Smart Scan
    std::unordered_set<std::uint32_t> m_foundAsOrphans;
    /// Tables of folders that were asked for last, by the node ids of the tables. Null: none can be read.
    std::vector<std::pair<std::uint32_t, std::unique_ptr<store::complete::CFoundTable>>> m_tables;
};

}  // namespace pastille::recovery::complete
