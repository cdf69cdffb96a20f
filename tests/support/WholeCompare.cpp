#include "tests/support/WholeCompare.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <set>

#include "format/Bytes.h"
#include "format/PropertyIds.h"
#include "platform/Text.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;
using format::PropertyType;

// [MS-OXPROPS]
constexpr std::uint16_t kParentEntryId = 0x0E09;
constexpr std::uint16_t kHasAttachments = 0x0E1B;
constexpr std::uint16_t kReplItemId = 0x0E30;
constexpr std::uint16_t kReplChangeNumber = 0x0E33;
constexpr std::uint16_t kReplVersionHistory = 0x0E34;
constexpr std::uint16_t kReplFlags = 0x0E38;
constexpr std::uint16_t kInstanceKey = 0x0FF6;
constexpr std::uint16_t kStoreRecordKey = 0x0FFA;
constexpr std::uint16_t kStoreEntryId = 0x0FFB;
constexpr std::uint16_t kEntryId = 0x0FFF;
constexpr std::uint16_t kFirstDefaultFolder = 0x36D0;  ///< and all up to the next: EntryIDs of folders
constexpr std::uint16_t kLastDefaultFolder = 0x36D9;
constexpr std::uint16_t kFreeBusyEntryIds = 0x36E4;
constexpr std::uint16_t kAssociatedCount = 0x3617;
constexpr std::uint16_t kHiddenCount = 0x6635;
constexpr std::uint16_t kHiddenUnread = 0x6636;
constexpr std::byte kFlagHasAttachments{0x10};  ///< in the first byte of PidTagMessageFlags

constexpr std::array kOwnOfAny = {pid::kLtpRowId, pid::kLtpRowVer};
constexpr std::array kOwnOfMessage = {pid::kMessageSize, kParentEntryId,      kHasAttachments, kReplItemId,
                                      kReplChangeNumber, kReplVersionHistory, kReplFlags,      kInstanceKey,
                                      pid::kRecordKey,   kStoreRecordKey,     kStoreEntryId,   kEntryId};
constexpr std::array kOwnOfFolder = {pid::kDisplayName,
                                     pid::kContentCount,
                                     pid::kContentUnreadCount,
                                     pid::kSubfolders,
                                     kHiddenCount,
                                     kHiddenUnread,
                                     kParentEntryId,
                                     kReplItemId,
                                     kReplChangeNumber,
                                     kReplVersionHistory,
                                     kReplFlags,
                                     kInstanceKey,
                                     pid::kRecordKey,
                                     kStoreRecordKey,
                                     kStoreEntryId,
                                     kEntryId,
                                     kFreeBusyEntryIds,
                                     kAssociatedCount};
constexpr std::array kOwnOfAttachment = {pid::kAttachSize, pid::kAttachNumber, pid::kRecordKey};

/// What a store adds to an object that lacks it.
constexpr std::array kAddedToMessage = {pid::kMessageClass, pid::kMessageFlags, pid::kCreationTime,
                                        pid::kLastModificationTime, pid::kSearchKey};
constexpr std::array kAddedToAttachment = {pid::kAttachMethod, pid::kRenderingPosition};
constexpr std::array kAddedToFolder = {pid::kContainerClass};

template <class List>
bool Holds(const List& list, std::uint16_t id)
{
    return std::find(list.begin(), list.end(), id) != list.end();
}

bool MayBeAdded(WholeKind kind, const WholeKey& key)
{
    const auto* const id = std::get_if<std::uint16_t>(&key);
    if (id == nullptr)
        return false;
    switch (kind) {
        case WholeKind::Message:
            return Holds(kAddedToMessage, *id);
        case WholeKind::Attachment:
            return Holds(kAddedToAttachment, *id);
        case WholeKind::Folder:
            return Holds(kAddedToFolder, *id);
        case WholeKind::Recipient:
            break;
    }
    return false;
}

bool IsStoresOwn(WholeKind kind, const WholeKey& key)
{
    const auto* const id = std::get_if<std::uint16_t>(&key);
    return id != nullptr && tests::IsStoresOwn(kind, *id);
}

/// The object without what is the store's own.
WholeObject Reduced(WholeKind kind, WholeObject object)
{
    std::erase_if(object, [kind](const auto& entry) { return IsStoresOwn(kind, entry.first); });
    if (kind == WholeKind::Message) {
        const auto flags = object.find(pid::kMessageFlags);
        if (flags != object.end() && !flags->second.bytes.empty())
            flags->second.bytes[0] &= ~kFlagHasAttachments;
    }
    return object;
}

WholeMessage Reduced(WholeMessage message)
{
    message.properties = Reduced(WholeKind::Message, std::move(message.properties));
    for (WholeObject& recipient : message.recipients)
        recipient = Reduced(WholeKind::Recipient, std::move(recipient));
    for (WholeAttachment& attachment : message.attachments) {
        attachment.properties = Reduced(WholeKind::Attachment, std::move(attachment.properties));
        for (WholeMessage& embedded : attachment.embedded)
            embedded = Reduced(std::move(embedded));
    }
    return message;
}

std::string Hex(std::uint64_t value, int digits)
{
    char text[20];
    std::snprintf(text, sizeof text, "%0*llX", digits, static_cast<unsigned long long>(value));
    return text;
}

std::string KeyText(const WholeKey& key)
{
    if (const auto* const id = std::get_if<std::uint16_t>(&key))
        return "0x" + Hex(*id, 4);
    const auto& name = std::get<format::PropertyName>(key);
    return "{" + Hex(name.set.data1, 8) + "-...}/" +
           (name.text.empty() ? "0x" + Hex(name.lid, 4) : platform::ToUtf8(name.text));
}

/// The type and as much of the value as fits a line.
std::string ValueText(const WholeValue& value)
{
    constexpr std::size_t kUnits = 50, kBytes = 24;
    const std::string type = Hex(static_cast<std::uint64_t>(value.type), 4);
    if (value.type == PropertyType::String) {
        const std::u16string text = TextOf(value.bytes);
        return type + " '" + platform::ToUtf8(text.substr(0, kUnits)) + "' (" + std::to_string(text.size()) +
               ")";
    }
    std::string hex;
    for (std::size_t i = 0; i < std::min(value.bytes.size(), kBytes); ++i)
        hex += Hex(static_cast<std::uint64_t>(value.bytes[i]), 2);
    return type + " " + hex + " (" + std::to_string(value.bytes.size()) + ")";
}

/// Where two values of bytes part.
std::string FirstDifference(const WholeValue& a, const WholeValue& b)
{
    const auto at = std::mismatch(a.bytes.begin(), a.bytes.end(), b.bytes.begin(), b.bytes.end()).first;
    return ", first at " + std::to_string(at - a.bytes.begin());
}

std::string Title(const WholeMessage& message)
{
    return (message.isAssociated ? "associated '" : "'") +
           platform::ToUtf8(TextOf(message.properties, pid::kMessageClass)) + "' '" +
           platform::ToUtf8(TextOf(message.properties, pid::kSubject)).substr(0, 60) + "'";
}

using Lines = std::vector<std::string>;

/// Both objects are reduced already.
void Compare(WholeKind kind, const WholeObject& source, const WholeObject& copy, const std::string& what,
             Lines& lines)
{
    for (const auto& [key, value] : source) {
        const auto other = copy.find(key);
        if (other == copy.end())
            lines.push_back(what + KeyText(key) + " is missing: " + ValueText(value));
        else if (other->second != value)
            lines.push_back(what + KeyText(key) + " is " + ValueText(other->second) + ", was " +
                            ValueText(value) + FirstDifference(value, other->second));
    }
    for (const auto& [key, value] : copy) {
        if (!source.contains(key) && !MayBeAdded(kind, key))
            lines.push_back(what + KeyText(key) + " is extra: " + ValueText(value));
    }
}

void Compare(const WholeMessage& source, const WholeMessage& copy, const std::string& what, Lines& lines);

void Compare(const WholeAttachment& source, const WholeAttachment& copy, const std::string& what,
             Lines& lines)
{
    Compare(WholeKind::Attachment, source.properties, copy.properties, what, lines);
    if (source.object != copy.object)
        lines.push_back(what + "object has " +
                        (copy.object ? std::to_string(copy.object->size()) + " bytes" : "gone") + ", was " +
                        (source.object ? std::to_string(source.object->size()) + " bytes" : "none"));
    if (source.embedded.size() != copy.embedded.size())
        lines.push_back(what + "message attached is " + (copy.embedded.empty() ? "missing" : "extra"));
    else if (!source.embedded.empty())
        Compare(source.embedded[0], copy.embedded[0], what + "embedded: ", lines);
}

void Compare(const WholeMessage& source, const WholeMessage& copy, const std::string& what, Lines& lines)
{
    if (source.isAssociated != copy.isAssociated)
        lines.push_back(what + "associated is " + std::to_string(copy.isAssociated));
    Compare(WholeKind::Message, source.properties, copy.properties, what, lines);
    if (source.recipients.size() != copy.recipients.size())
        lines.push_back(what + std::to_string(copy.recipients.size()) + " recipients, were " +
                        std::to_string(source.recipients.size()));
    for (std::size_t i = 0; i < std::min(source.recipients.size(), copy.recipients.size()); ++i)
        Compare(WholeKind::Recipient, source.recipients[i], copy.recipients[i],
                what + "recipient " + std::to_string(i) + ": ", lines);
    if (source.attachments.size() != copy.attachments.size())
        lines.push_back(what + std::to_string(copy.attachments.size()) + " attachments, were " +
                        std::to_string(source.attachments.size()));
    for (std::size_t i = 0; i < std::min(source.attachments.size(), copy.attachments.size()); ++i)
        Compare(source.attachments[i], copy.attachments[i], what + "attachment " + std::to_string(i) + ": ",
                lines);
}

Lines LinesOf(const WholeMessage& source, const WholeMessage& copy)
{
    Lines lines;
    Compare(source, copy, "  ", lines);
    return lines;
}

struct Placed {
    std::string folder;
    WholeMessage message;  ///< reduced
};

bool IsSame(const WholeMessage& source, const WholeMessage& copy)
{
    return LinesOf(source, copy).empty();
}

/// What an item of another store must at least share with it to be the same one; for speed only.
std::string QuickKey(const Placed& item)
{
    return Title(item.message) + std::to_string(item.message.attachments.size()) + "/" +
           std::to_string(item.message.recipients.size());
}

/// Properties, recipients and attachments that two items share; more is more alike.
std::size_t Likeness(const WholeMessage& source, const WholeMessage& copy)
{
    std::size_t shared = 0;
    for (const auto& [key, value] : source.properties) {
        const auto other = copy.properties.find(key);
        shared += other != copy.properties.end() && other->second == value ? 1 : 0;
    }
    const bool sameClass =
        TextOf(source.properties, pid::kMessageClass) == TextOf(copy.properties, pid::kMessageClass);
    return shared + (sameClass ? 5 : 0);
}

class CItemMatch {
public:
    CItemMatch(const WholeStore& source, const WholeStore& copy)
        : m_source(ItemsOf(source)), m_copy(ItemsOf(copy))
    {
    }

    Lines Run()
    {
        for (const bool inFolder : {true, false})
            MatchSame(inFolder);
        for (std::size_t i = 0; i < m_copy.size(); ++i) {
            if (!m_copyDone.contains(i))
                TellExtraTwin(i);
        }
        for (std::size_t i = 0; i < m_source.size(); ++i) {
            if (!m_sourceDone.contains(i))
                TellNearest(i);
        }
        for (std::size_t i = 0; i < m_copy.size(); ++i) {
            if (!m_copyDone.contains(i))
                m_lines.push_back("extra: " + NameOf(m_copy[i]));
        }
        return std::move(m_lines);
    }

private:
    static std::vector<Placed> ItemsOf(const WholeStore& store)
    {
        std::vector<Placed> items;
        for (const auto& [path, folder] : store.folders) {
            for (const WholeMessage& item : folder.items)
                items.push_back({path, Reduced(item)});
        }
        return items;
    }

    static std::string NameOf(const Placed& item)
    {
        return Title(item.message) + " in '" + item.folder + "'";
    }

    void MatchSame(bool inFolder)
    {
        std::multimap<std::string, std::size_t> free;
        for (std::size_t i = 0; i < m_copy.size(); ++i) {
            if (!m_copyDone.contains(i))
                free.emplace(QuickKey(m_copy[i]), i);
        }
        for (std::size_t i = 0; i < m_source.size(); ++i) {
            if (m_sourceDone.contains(i))
                continue;
            const auto [first, last] = free.equal_range(QuickKey(m_source[i]));
            for (auto candidate = first; candidate != last; ++candidate) {
                const Placed& copy = m_copy[candidate->second];
                if ((inFolder && copy.folder != m_source[i].folder) ||
                    !IsSame(m_source[i].message, copy.message))
                    continue;
                if (copy.folder != m_source[i].folder)
                    m_lines.push_back("moved to '" + copy.folder + "': " + NameOf(m_source[i]));
                m_sourceDone.insert(i);
                m_copyDone.insert(candidate->second);
                free.erase(candidate);
                break;
            }
        }
    }

    void TellExtraTwin(std::size_t extra)
    {
        for (const std::size_t i : m_sourceDone) {
            if (QuickKey(m_source[i]) == QuickKey(m_copy[extra]) &&
                IsSame(m_source[i].message, m_copy[extra].message)) {
                m_lines.push_back("twice: " + NameOf(m_copy[extra]));
                m_copyDone.insert(extra);
                return;
            }
        }
    }

    void TellNearest(std::size_t missing)
    {
        const Placed& source = m_source[missing];
        std::size_t nearest = m_copy.size();
        std::size_t best = source.message.properties.size() / 3;  // of less, it is another item
        for (std::size_t i = 0; i < m_copy.size(); ++i) {
            if (m_copyDone.contains(i))
                continue;
            const std::size_t likeness = Likeness(source.message, m_copy[i].message);
            if (likeness > best) {
                best = likeness;
                nearest = i;
            }
        }
        if (nearest == m_copy.size()) {
            m_lines.push_back("missing: " + NameOf(source));
            return;
        }
        m_copyDone.insert(nearest);
        const Placed& copy = m_copy[nearest];
        m_lines.push_back("differs: " + NameOf(source) +
                          (copy.folder == source.folder ? "" : ", now in '" + copy.folder + "'"));
        for (std::string& line : LinesOf(source.message, copy.message))
            m_lines.push_back(std::move(line));
    }

    std::vector<Placed> m_source, m_copy;
    std::set<std::size_t> m_sourceDone, m_copyDone;
    Lines m_lines;
};

void CompareFolders(const WholeStore& source, const WholeStore& copy, Lines& lines)
{
    for (const auto& [path, folder] : source.folders) {
        const auto other = copy.folders.find(path);
        const bool isNeeded = !folder.isBeside || !folder.items.empty();
        if (other == copy.folders.end() && isNeeded)
            lines.push_back("folder '" + path + "' is missing");
        else if (other == copy.folders.end())
            continue;
        else if (!path.empty())
            Compare(WholeKind::Folder, Reduced(WholeKind::Folder, folder.properties),
                    Reduced(WholeKind::Folder, other->second.properties), "folder '" + path + "': ", lines);
    }
    for (const auto& [path, folder] : copy.folders) {
        if (!source.folders.contains(path) && !folder.items.empty())
            lines.push_back("folder '" + path + "' is extra");
    }
}

}  // namespace

bool IsStoresOwn(WholeKind kind, std::uint16_t id)
{
    if (Holds(kOwnOfAny, id))
        return true;
    switch (kind) {
        case WholeKind::Message:
            return Holds(kOwnOfMessage, id);
        case WholeKind::Attachment:
            return Holds(kOwnOfAttachment, id);
        case WholeKind::Folder:
            return Holds(kOwnOfFolder, id) || (id >= kFirstDefaultFolder && id <= kLastDefaultFolder);
        case WholeKind::Recipient:
            break;
    }
    return false;
}

std::vector<std::string> Differences(const WholeStore& source, const WholeStore& copy)
{
    Lines lines;
    for (const std::string& fault : source.faults)
        lines.push_back("fault in the source: " + fault);
    for (const std::string& fault : copy.faults)
        lines.push_back("fault in the copy: " + fault);
    CompareFolders(source, copy, lines);
    for (std::string& line : CItemMatch(source, copy).Run())
        lines.push_back(std::move(line));
    return lines;
}

std::string Joined(const std::vector<std::string>& lines)
{
    constexpr std::size_t kMost = 60;
    std::string text;
    for (std::size_t i = 0; i < std::min(lines.size(), kMost); ++i)
        text += lines[i] + "\n";
    if (lines.size() > kMost)
        text += "and " + std::to_string(lines.size() - kMost) + " more\n";
    return text;
}

}  // namespace pastille::tests
