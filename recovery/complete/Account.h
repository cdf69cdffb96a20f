#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store/complete/SourceBlocks.h"

namespace pastille::recovery::complete {

/// How much of an item came back.
enum class Outcome : std::uint8_t {
    Whole,
    Partial,  ///< something of it is missing or comes from an older version
    Lost,
};

/// Items of one folder of the new store. expected = whole + partial + lost; found - (whole + partial) could
/// be opened in the source but not be written.
struct ItemCounts {
    std::uint64_t expected = 0;
    std::uint64_t found = 0;    ///< something of them could be read
    std::uint64_t written = 0;  ///< into the new store, whole or partial
    std::uint64_t partial = 0;
    std::uint64_t lost = 0;

    void Add(const ItemCounts& other);
};

struct FolderAccount {
    std::u16string path;  ///< "\" before each name; "" for the root
    std::uint32_t node = 0;
    ItemCounts items;
    ItemCounts associated;
    std::optional<std::uint32_t> statedItems;  ///< PidTagContentCount of the source's folder
};

/// An item as far as it is known.
struct KnownItem {
    std::uint32_t node = 0;  ///< 0: not known
    std::u16string subject;
    std::u16string messageClass;
    bool isAssociated = false;
};

/// Something that did not come back, or not as it was.
struct Loss {
    enum class What : std::uint8_t {
        Item,          ///< all of it
        Properties,    ///< not known how many and which
        Property,      ///< `tag` tells which
        Recipients,    ///< not known which
        Attachments,   ///< not known which
        Attachment,    ///< all of it but its name
        Content,       ///< of an attachment, in part or whole; what is missing of it is zeros
        Message,       ///< attached to the item
        OlderVersion,  ///< nothing is missing, but the newest version could not be read
        Folder,        ///< its properties; the items come back
        UnknownItems,  ///< that the folder counts but of which nothing else tells
        Names,         ///< of properties; the values come back under names that tell their ids
    };
    What what;
    std::size_t folder;  ///< of CAccount
    KnownItem item;
    std::optional<std::uint32_t> tag;  ///< of the property in the source
    std::u16string name;               ///< of the attachment
    std::optional<store::complete::SourceFault> fault;
    std::uint64_t count = 1;  ///< of unknown items, of names
};

/// What a complete recovery expected, found, wrote and lost. Losses beyond kMostLosses are only counted.
class CAccount {
public:
    static constexpr std::size_t kMostLosses = 100'000;
    static constexpr std::size_t kRoot = 0;  ///< the root's account, which is added first

    /// A new account, for a folder of the new store. Two folders may show the same path.
    std::size_t AddFolder(std::u16string_view path, std::uint32_t node = 0);
    FolderAccount& operator[](std::size_t folder) { return m_folders[folder]; }
    const std::vector<FolderAccount>& Folders() const { return m_folders; }

    void CountItem(std::size_t folder, bool isAssociated, Outcome outcome, bool isFound);
    void Add(Loss loss);
    const std::vector<Loss>& Losses() const { return m_losses; }
    /// Losses that are not in the list.
    std::uint64_t MoreLosses() const { return m_moreLosses; }
    /// Bytes that the source's header speaks of beyond the file's end: what lay there is not known.
    void SetMissingAtEnd(std::uint64_t bytes) { m_missingAtEnd = bytes; }
    std::uint64_t MissingAtEnd() const { return m_missingAtEnd; }
    /// An older or second copy of an item that came was not written.
    void NoteLeftOut() { ++m_leftOut; }
    std::uint64_t LeftOut() const { return m_leftOut; }
    /// Of all folders; associated items with the others.
    ItemCounts Total() const;

private:
    std::vector<FolderAccount> m_folders;
    std::vector<Loss> m_losses;
    std::uint64_t m_moreLosses = 0;
    std::uint64_t m_leftOut = 0;
    std::uint64_t m_missingAtEnd = 0;
};

}  // namespace pastille::recovery::complete
