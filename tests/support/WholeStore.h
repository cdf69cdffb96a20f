#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "format/NameId.h"
#include "format/PropertyTag.h"
#include "tests/support/StoreDescription.h"

namespace pastille::tests {

// Everything that the nodes of a sound store hold, in a form that does not depend on the file: no node, block
// or property ids of its own, texts of 8 bits as UTF-16.

/// What tells a property wherever it is stored: its id, or its name when it is a named one. An id from 0x8000
/// on without a name in the store's map stays an id.
using WholeKey = std::variant<std::uint16_t, format::PropertyName>;

struct WholeValue {
    format::PropertyType type = format::PropertyType::Integer32;
    Bytes bytes{};  ///< as stored, but strings as UTF-16 without NULs; of an Object: of its subnode's data
    auto operator<=>(const WholeValue&) const = default;
};

using WholeObject = std::map<WholeKey, WholeValue>;

struct WholeMessage;

struct WholeAttachment {
    WholeObject properties{};  ///< without PidTagAttachDataObject
    /// Data of PidTagAttachDataObject when it is no message: a storage.
    std::optional<Bytes> object{};
    std::vector<WholeMessage> embedded;  ///< none or one
};

struct WholeMessage {
    WholeObject properties{};  ///< and the time of the last change when only the contents table has it
    std::vector<WholeObject> recipients{};       ///< rows in stored order, without row id and row version
    std::vector<WholeAttachment> attachments{};  ///< in the order of their table, then those that it lacks
    bool isAssociated = false;
};

struct WholeFolder {
    WholeObject properties{};
    std::vector<WholeMessage> items{};  ///< by rising node id
    bool isBeside = false;              ///< it lies neither in the IPM subtree nor is it one of the two roots
};

struct WholeStore {
    /// By path, "/" before each name. The IPM subtree, which the root of a new store stands for, is "", and
    /// so is the store's root folder. Folders beside the IPM subtree are named from below the store's root
    /// folder, as if they lay in the subtree. Folders of the same path are one, with the properties of the
    /// first. Messages whose parent is no folder are in "?" and the parent's node id.
    std::map<std::string, WholeFolder> folders{};
    /// What breaks the format; the rest has been read.
    std::vector<std::string> faults{};

    std::size_t CountItems(bool associated) const;
    std::size_t CountEmbedded() const;
    /// Attachments that are no messages, those in messages attached included.
    std::size_t CountFiles() const;
};

/// Reads all messages of a store's node tree, whether or not a table names them, and all folders but search
/// folders. `codePage`: of 8-bit texts where the item states none that fits its bytes. Raises CFormatError
/// when the file is no store.
WholeStore ReadWholeStore(const std::filesystem::path& path, const std::string& codePage = "windows-1252");

/// "" when the message has none.
std::u16string TextOf(const WholeObject& object, std::uint16_t id);

}  // namespace pastille::tests
