#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "format/Bytes.h"
#include "format/Guid.h"
#include "format/PropertyIds.h"
#include "format/PropertyTag.h"
#include "tests/support/StoreFile.h"

namespace pastille::tests {

// What a store is to hold, written down as a test or a generator wants to read it.

/// One property, its value as the store keeps it (texts in UTF-16; the builder turns them into the code page
/// and the 8-bit type where the variant asks for it).
struct StoreProperty {
    std::uint16_t id = 0;
    format::PropertyType type = format::PropertyType::Integer32;
    Bytes value{};
    bool inSubnode = false;               ///< in a subnode even when it would fit the heap
    std::size_t leafBytes = 0;            ///< cut the subnode's data into blocks of this size
    std::optional<std::uint32_t> hnid{};  ///< write this HNID whatever the value
};

StoreProperty Text(std::uint16_t id, std::u16string_view text);
StoreProperty Number(std::uint16_t id, std::uint32_t value);
StoreProperty Number16(std::uint16_t id, std::uint16_t value);
StoreProperty Flag(std::uint16_t id, bool value);
/// `fileTime`: 100 ns since 1601-01-01 UTC.
StoreProperty Time(std::uint16_t id, std::uint64_t fileTime);
StoreProperty Binary(std::uint16_t id, Bytes value);
StoreProperty Binary(std::uint16_t id, std::string_view text);
/// Several strings as one value. [MS-PST] 2.3.3.4.2
StoreProperty Texts(std::uint16_t id, const std::vector<std::u16string>& texts);
/// A property whose value is what `hnid` leads to, whatever that is.
StoreProperty Behind(std::uint16_t id, format::PropertyType type, std::uint32_t hnid);
/// The same property in a subnode, its data in blocks of `leafBytes` (0: as large as possible).
StoreProperty InSubnode(StoreProperty property, std::size_t leafBytes = 0);

/// A number as a store keeps it.
template <class Integer>
Bytes LittleEndian(Integer value)
{
    Bytes bytes(sizeof value);
    format::StoreLE(std::span(bytes), 0, value);
    return bytes;
}

inline void Append(Bytes& to, std::span<const std::byte> more)
{
    to.insert(to.end(), more.begin(), more.end());
}

/// Bytes that look random, pack badly and are the same in every build.
Bytes FixedBytes(std::uint32_t seed, std::size_t count);
/// The text of UTF-16 bytes as a store keeps them.
std::u16string TextOf(std::span<const std::byte> bytes);

/// A FILETIME from a date and time, UTC.
std::uint64_t FileTime(int year, unsigned month, unsigned day, unsigned hour = 0, unsigned minute = 0);

/// The name of a named property: a long id, or a string when `name` is not empty.
struct StoreName {
    format::Guid set{};
    std::uint32_t lid = 0;
    std::u16string name{};
    auto operator<=>(const StoreName&) const = default;
};

struct StoreNamedProperty {
    StoreName name{};
    StoreProperty property{};  ///< its id is not used
};

struct StoreMessage;

struct StoreAttachment {
    std::u16string fileName{};
    Bytes data{};
    std::uint32_t method = 1;  ///< 1 by value, 5 embedded message, others as [MS-OXCMSG] 2.2.2.9
    bool inSubnode = false;
    std::size_t leafBytes = 0;
    std::shared_ptr<StoreMessage> embedded{};
    bool shareEmbedded =
        false;  ///< all attachments that embed this same object refer to one copy of its blocks
    std::vector<StoreProperty> properties{};  ///< added to, or put in place of, what the builder writes
    std::vector<std::uint16_t> omitted{};     ///< of what the builder writes
    std::vector<SubnodeRef> subnodes{};       ///< besides those the builder makes
};

/// A message in another as mail clients attach it: under its subject, without a file name.
StoreAttachment Embed(std::shared_ptr<StoreMessage> message, std::u16string_view displayName);
StoreAttachment Embed(StoreMessage message, std::u16string_view displayName);

struct StoreRecipient {
    std::u16string name{};
    std::u16string address{};
    std::uint32_t type = 1;  ///< 1 To, 2 Cc, 3 Bcc
};

/// What a message's deletion left: all of it, its blocks alone, or their bytes alone, in space marked free.
enum class Deletion { None, OfNode, OfNodeAndBlocks };

struct StoreMessage {
    std::string label{};  ///< names its node in the directory
    std::u16string messageClass = u"IPM.Note";
    std::vector<StoreProperty> properties{};
    std::vector<StoreNamedProperty> named{};
    std::vector<StoreRecipient> recipients{};
    std::vector<StoreAttachment> attachments{};
    std::uint32_t flags = 1;  ///< PidTagMessageFlags, without the attachment bit
    bool associated = false;  ///< folder-associated information
    Deletion deletion = Deletion::None;
    bool bare = false;  ///< only the properties given: no class, times, size, recipient table
    std::optional<std::uint32_t> nid{};
    std::optional<std::uint32_t> parent{};       ///< nidParent when it is not to be the folder
    std::vector<SubnodeRef> subnodes{};          ///< besides those the builder makes
    std::optional<std::uint64_t> dataBid{};      ///< BID of the data block; only when it is one block
    std::optional<std::uint64_t> subnodesBid{};  ///< BID of the SLBLOCK; only when it is one
};

/// The three streams of a name map as they are to be written. [MS-PST] 2.4.7
struct NameStreams {
    Bytes guids{}, entries{}, strings{};
};

struct StoreFolder {
    std::u16string name{};
    std::u16string containerClass{};  ///< none when empty
    std::vector<StoreMessage> messages{};
    std::vector<StoreFolder> folders{};
    std::vector<StoreProperty> properties{};
    std::optional<std::uint32_t> nid{};
    std::optional<std::uint32_t> parent{};
};

struct StoreDescription {
    StoreFormat format{};
    std::u16string displayName = u"Built store";
    std::u16string topName = u"Top of Personal Folders";
    std::string codePage = "windows-1252";           ///< of 8-bit texts
    std::vector<StoreFolder> folders{};              ///< below the top folder
    std::vector<StoreMessage> messages{};            ///< in the top folder
    std::function<void(CStoreFile&)> atStart{};      ///< before anything else is written
    std::function<void(CStoreFile&)> beforeTrees{};  ///< when every node and block is there
    std::function<void(NameStreams&)> editNames{};   ///< before the name map is written
};

/// A store of these folders.
StoreDescription InFolders(std::vector<StoreFolder> folders);

/// An ordinary mail.
StoreMessage Mail(std::u16string_view subject, std::u16string_view sender, std::u16string_view body,
                  std::uint64_t sent);

}  // namespace pastille::tests
