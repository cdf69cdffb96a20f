#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "recovery/FolderList.h"
#include "recovery/ItemClasses.h"
#include "recovery/SourceItem.h"
#include "store/DamageMap.h"
#include "store/OutLook.h"
#include "store/SourceFile.h"

namespace pastille::recovery {

/// How often each message class was met. Classes are texts from a damaged file: those beyond a number are
/// counted together, and long ones are cut.
class CClassCounts {
public:
    void Add(const std::u16string& messageClass);

    const std::map<std::u16string, std::uint64_t>& Classes() const { return m_classes; }
    std::uint64_t Others() const { return m_others; }
    bool IsEmpty() const { return m_classes.empty(); }

private:
    std::map<std::u16string, std::uint64_t> m_classes;
    std::uint64_t m_others = 0;
};

/// What a repair would bring. Without what hangs on items: attachments, messages attached to them, and the
/// mails that a repair makes to carry the attachments of items that take none.
struct SurveyFindings {
    struct Folder {
        std::u16string path;  ///< in the new store, "\" before each name; "" for the root
        std::uint64_t items = 0;
    };

    /// Those of the source and, when they get items, the others, in the order of a tree: a folder, what is
    /// below it, then the next one by name.
    std::vector<Folder> folders;
    std::uint64_t items = 0;                              ///< in all folders
    std::array<std::uint64_t, kItemFamilies> families{};  ///< by ItemFamily
    CClassCounts classes;                                 ///< of the items
    CClassCounts skippedClasses;                          ///< of nodes that are no items
    std::uint64_t lostAndFound = 0;                       ///< items, as below
    std::uint64_t orphanedMails = 0;

    store::FileKind kind = store::FileKind::Unknown;
    bool isCryptMethodKnown = false;
    std::uint64_t fileSize = 0;  ///< in bytes
    std::vector<store::CSourceFile::Range> unreadable;
    store::DamageMap map;
};

/// A run that writes nothing and counts what a repair of the file would bring.
class CSurvey final : public store::IRecovery {
public:
    void SetUpOutput(store::RunContext& run) override;
    void WriteLog(std::u16string_view) override {}
    void CollectFolders(store::RunContext& run) override;
    void RecoverItems(store::RunContext& run) override;
    void CloseOutput(store::RunContext&) override { m_folders.Clear(); }

    /// Of the run made last; nothing when it did not come to its end.
    const std::optional<SurveyFindings>& Findings() const { return m_findings; }

private:
    bool CountItems(store::RunContext& run, SurveyFindings& findings);
    void CountNode(const CSourceItem& item, std::uint32_t parentNid, SurveyFindings& findings);
    void CountOrphan(const CSourceItem& item, std::size_t folder, SurveyFindings& findings);
    static void AddItem(std::size_t folder, const std::u16string& messageClass, ItemFamily family,
                        SurveyFindings& findings);
    std::size_t FolderAt(std::u16string path, SurveyFindings& findings);
    /// True when no more folders are told apart.
    bool IsFull() const { return m_folderCharacters >= 4'000'000; }

    CFolderList m_folders;
    std::unordered_map<std::u16string, std::size_t> m_folderIndex;
    std::size_t m_folderCharacters = 0;  ///< of all paths in it
    /// Index of an item's folder by parent NID (upper half) and default-folder kind.
    std::unordered_map<std::uint64_t, std::size_t> m_targets;
    std::optional<SurveyFindings> m_findings;
};

}  // namespace pastille::recovery
