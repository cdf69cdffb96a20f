#include "tests/support/WholeStore.h"

#include <algorithm>
#include <array>
#include <functional>
#include <set>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/messaging/EntryId.h"
#include "component/pst/ndb/NdbReader.h"
#include "format/PropertyIds.h"
#include "platform/Text.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::Nid;
using format::NidType;
using format::PropertyType;

constexpr std::uint64_t kLargestValue = std::uint64_t{1} << 30;
constexpr unsigned kDeepestMessage = 1100;
constexpr unsigned kDeepestFolder = 300;
constexpr std::uint32_t kMethodEmbedded = 5;

/// Texts of an object: its stated code pages in their order, the first that its bytes fit, else the store's.
class CTexts {
public:
    explicit CTexts(const std::string& codePage) : m_storePage(codePage) {}

    void Widen(WholeObject& object, const std::vector<std::uint32_t>& stated) const
    {
        for (auto& [key, value] : object)
            Widen(value, stated);
    }

private:
    void Widen(WholeValue& value, const std::vector<std::uint32_t>& stated) const
    {
        switch (value.type) {
            case PropertyType::String8:
                value = {PropertyType::String, Wide(value.bytes, stated)};
                break;
            case PropertyType::String:
                value.bytes = WithoutNuls(TextOf(value.bytes));
                break;
            case PropertyType::MultipleString8:
            case PropertyType::MultipleString: {
                const auto parts = format::SplitMultiple(format::CByteView(value.bytes));
                if (!parts)
                    break;  // a difference shows the bytes
                const bool isNarrow = value.type == PropertyType::MultipleString8;
                std::vector<Bytes> texts;
                for (const format::CByteView& part : *parts)
                    texts.push_back(isNarrow ? Wide(part.Bytes(), stated)
                                             : WithoutNuls(TextOf(part.Bytes())));
                value = {PropertyType::MultipleString, format::JoinMultiple(texts)};
                break;
            }
            default:
                break;
        }
    }

    Bytes Wide(std::span<const std::byte> bytes, const std::vector<std::uint32_t>& stated) const
    {
        for (const std::uint32_t number : stated) {
            const std::string name = platform::CodePageName(number);
            if (name.empty())
                continue;
            const std::u16string text = platform::CCodePage(name).ToUtf16(bytes);
            const bool fits = std::none_of(text.begin(), text.end(),
                                           [](char16_t unit) { return unit >= 0xF700 && unit <= 0xF7FF; });
            if (fits)
                return WithoutNuls(text);
        }
        return WithoutNuls(m_storePage.ToUtf16(bytes));
    }

    static Bytes WithoutNuls(std::u16string text)
    {
        std::erase(text, u'\0');
        Bytes bytes;
        for (const char16_t unit : text)
            Append(bytes, LittleEndian(static_cast<std::uint16_t>(unit)));
        return bytes;
    }

    platform::CCodePage m_storePage;
};

std::uint32_t NumberOf(const WholeObject& object, std::uint16_t id)
{
    const auto found = object.find(id);
    return found == object.end() ? 0 : format::CByteView(found->second.bytes).ReadOrZero<std::uint32_t>(0);
}

/// The code pages that an item states for its texts.
std::vector<std::uint32_t> StatedPages(const WholeObject& message)
{
    return {NumberOf(message, format::pid::kMessageCodepage),
            NumberOf(message, format::pid::kInternetCodepage)};
}

class CWholeReader {
public:
    CWholeReader(platform::IByteSource& source, const std::string& codePage)
        : m_database(source, DetectLayout(source)), m_texts(codePage)
    {
    }

    WholeStore Read()
    {
        Attempt("name map", [&] { ReadNames(); });
        m_database.VisitNodes([&](const NodeRecord& node) {
            m_nodes.push_back(node);
            return true;
        });
        ReadFolders();
        FindSubtree();
        for (const auto& [nid, folder] : m_folders)
            m_store.folders.try_emplace(PathOf(nid), WholeFolder{folder.properties, {}, IsBeside(nid)});
        for (const NodeRecord& node : m_nodes) {
            if (node.nid.Type() == NidType::NormalMessage || node.nid.Type() == NidType::AssociatedMessage)
                m_store.folders[PathOf(node.parent)].items.push_back(ReadItem(node));
        }
        return std::move(m_store);
    }

private:
    struct Folder {
        Nid parent;
        std::string name;
        WholeObject properties;
    };

    template <class Work>
    void Attempt(const std::string& what, Work&& work)
    {
        try {
            work();
        } catch (const std::exception& error) {
            m_store.faults.push_back(what + ": " + error.what());
        }
    }

    static std::string NameOf(const NodeRecord& node) { return "node " + std::to_string(node.nid.value); }

    void ReadNames()
    {
        const auto node = m_database.FindNode(format::nids::kNameToIdMap);
        if (!node)
            return;
        CPropertyReader map(m_database, *node);
        const auto stream = [&](std::uint16_t id) {
            const auto value = map.Read(id, kLargestValue);
            return value ? value->bytes : Bytes();
        };
        const Bytes guids = stream(format::namemap::kGuidStreamId);
        const Bytes strings = stream(format::namemap::kStringStreamId);
        for (const format::NameId& entry :
             format::DecodeNameIds(format::CByteView(stream(format::namemap::kEntryStreamId)))) {
            format::PropertyName name;
            if (!entry.isString)
                name.lid = entry.number;
            else if (const auto text = format::StringNameAt(format::CByteView(strings), entry.number))
                name.text = TextOf(text->Bytes());
            if (const auto set = SetAt(guids, entry.guidIndex))
                name.set = *set;
            else
                continue;
            m_names.emplace(static_cast<std::uint16_t>(format::namemap::kFirstPropertyId + entry.index),
                            name);
        }
    }

    static std::optional<format::Guid> SetAt(const Bytes& guids, unsigned index)
    {
        const std::array<format::Guid, 3> known = {format::Guid{}, format::propset::kMapi,
                                                   format::propset::kPublicStrings};
        if (index < known.size())
            return known[index];
        return format::DecodeGuid(format::CByteView(guids), format::kGuidSize * (index - known.size()));
    }

    WholeKey KeyOf(std::uint16_t id) const
    {
        const auto name = m_names.find(id);
        return name == m_names.end() ? WholeKey(id) : WholeKey(name->second);
    }

    /// A map may give one name several ids; a client that did has set all of them to the same value.
    void Add(WholeObject& object, const PropertyValue& value, const std::string& what)
    {
        const WholeValue added{value.tag.type, value.bytes};
        const auto [known, isNew] = object.try_emplace(KeyOf(value.tag.id), added);
        if (!isNew && known->second != added)
            m_store.faults.push_back(what + ": another property has the name of " +
                                     std::to_string(value.tag.id));
    }

    WholeObject ReadProperties(CPropertyReader& reader, const std::string& what, bool isAttachment)
    {
        WholeObject object;
        for (const format::PropertyTag tag : reader.Tags()) {
            Attempt(what + ", property " + std::to_string(tag.id), [&] {
                if (tag.type == PropertyType::Object) {
                    const bool isAttached = isAttachment && tag.id == format::pid::kAttachDataBinary;
                    if (const auto node = reader.OpenObject(tag.id); node && !isAttached)
                        Add(object, {tag, CDataTreeReader(m_database, node->data).ReadAll(), {}}, what);
                    return;
                }
                if (const auto value = reader.Read(tag.id, kLargestValue))
                    Add(object, *value, what);
                else
                    m_store.faults.push_back(what + ": property " + std::to_string(tag.id) + " is too large");
            });
        }
        return object;
    }

    void ReadFolders()
    {
        for (const NodeRecord& node : m_nodes) {
            if (node.nid.Type() != NidType::NormalFolder)
                continue;
            Folder folder{node.parent, {}, {}};
            Attempt(NameOf(node), [&] {
                CPropertyReader reader(m_database, node);
                folder.properties = ReadProperties(reader, NameOf(node), false);
                m_texts.Widen(folder.properties, {});
                folder.name = platform::ToUtf8(TextOf(folder.properties, format::pid::kDisplayName));
            });
            m_folders.emplace(node.nid, std::move(folder));
        }
    }

    /// The folder that the store names, else the one called so in the mailbox of an OST, else the one where
    /// all programs put it.
    void FindSubtree()
    {
        Attempt("message store", [&] {
            const auto node = m_database.FindNode(format::nids::kMessageStore);
            if (!node)
                return;
            const auto entryId =
                CPropertyReader(m_database, *node).Read(format::pid::kIpmSubtreeEntryId, kLargestValue);
            m_subtree = entryId ? NidOfEntryId(entryId->bytes).value_or(Nid{}) : Nid{};
        });
        if (m_folders.contains(m_subtree))
            return;
        m_subtree = format::nids::kIpmSubtree;
        std::size_t most = 0;
        for (const auto& entry : m_folders) {
            const Nid nid = entry.first;
            const auto isChild = [nid](const auto& other) { return other.second.parent == nid; };
            const auto children =
                static_cast<std::size_t>(std::count_if(m_folders.begin(), m_folders.end(), isChild));
            if (entry.second.name == "IPM_SUBTREE" && children > most) {
                m_subtree = nid;
                most = children;
            }
        }
    }

    bool IsBeside(Nid nid) const
    {
        if (nid == format::nids::kRootFolder)
            return false;
        for (unsigned level = 0; level < kDeepestFolder && nid != m_subtree; ++level) {
            const auto folder = m_folders.find(nid);
            if (folder == m_folders.end() || nid == format::nids::kRootFolder)
                return true;
            nid = folder->second.parent;
        }
        return nid != m_subtree;
    }

    std::string PathOf(Nid nid) const
    {
        std::string path;
        for (unsigned level = 0; level < kDeepestFolder; ++level) {
            if (nid == m_subtree || nid == format::nids::kRootFolder)
                return path;
            const auto folder = m_folders.find(nid);
            if (folder == m_folders.end())
                break;
            path.insert(0, "/" + folder->second.name);
            nid = folder->second.parent;
        }
        return "?" + std::to_string(nid.value) + path;
    }

    WholeMessage ReadItem(const NodeRecord& node)
    {
        WholeMessage item = ReadMessage(node, {}, 0);
        if (!item.properties.contains(format::pid::kLastModificationTime))
            Attempt(NameOf(node) + ", its row", [&] { AddTimeOfRow(node, item); });
        return item;
    }

    /// OSTs keep the time of an item's last change in its row only.
    void AddTimeOfRow(const NodeRecord& node, WholeMessage& item)
    {
        const auto type = item.isAssociated ? NidType::AssociatedContentsTable : NidType::ContentsTable;
        const auto tableNode = m_database.FindNode(Nid::Make(type, node.parent.Index()));
        if (!tableNode)
            return;
        CTableReader table(m_database, *tableNode);
        if (const auto row = table.FindRow(node.nid.value)) {
            if (const auto time = table.Cell(*row, format::pid::kLastModificationTime))
                Add(item.properties, *time, NameOf(node));
        }
    }

    /// `pages`: what the message around it states.
    WholeMessage ReadMessage(const NodeRecord& node, std::vector<std::uint32_t> pages, unsigned depth)
    {
        WholeMessage message;
        message.isAssociated = node.nid.Type() == NidType::AssociatedMessage;
        Attempt(NameOf(node), [&] {
            if (depth > kDeepestMessage)
                throw std::runtime_error("messages are nested too deeply");
            CPropertyReader reader(m_database, node);
            message.properties = ReadProperties(reader, NameOf(node), false);
            const auto own = StatedPages(message.properties);
            pages.insert(pages.begin(), own.begin(), own.end());
            m_texts.Widen(message.properties, pages);
            if (const auto table = reader.FindSubnode(format::nids::kRecipientTable))
                ReadRecipients(*table, pages, message);
            for (const NodeRecord& attachment : AttachmentsOf(reader))
                message.attachments.push_back(ReadAttachment(attachment, pages, depth));
        });
        return message;
    }

    void ReadRecipients(const NodeRecord& node, const std::vector<std::uint32_t>& pages,
                        WholeMessage& message)
    {
        CTableReader table(m_database, node);
        for (std::size_t row = 0; row < table.RowCount(); ++row) {
            WholeObject recipient;
            const CPropertyBag cells = table.ReadRow(row, kLargestValue);
            for (const PropertyValue& value : cells.Values()) {
                if (value.tag.id != format::pid::kLtpRowId && value.tag.id != format::pid::kLtpRowVer)
                    Add(recipient, value, "recipient");
            }
            m_texts.Widen(recipient, pages);
            message.recipients.push_back(std::move(recipient));
        }
    }

    std::vector<NodeRecord> AttachmentsOf(CPropertyReader& message)
    {
        std::vector<NodeRecord> attachments;
        std::set<Nid> known;
        if (const auto node = message.FindSubnode(format::nids::kAttachmentTable)) {
            CTableReader table(m_database, *node);
            for (std::size_t row = 0; row < table.RowCount(); ++row) {
                const Nid nid{table.RowIdAt(row)};
                const auto attachment = message.FindSubnode(nid);
                if (!attachment || !known.insert(nid).second)
                    m_store.faults.push_back(NameOf(message.Node()) + ": row " + std::to_string(row) +
                                             " of the attachment table leads to no attachment");
                else
                    attachments.push_back(*attachment);
            }
        }
        VisitSubnodes(m_database, message.Node().sub, [&](const NodeRecord& subnode) {
            if (subnode.nid.Type() == NidType::Attachment && !known.contains(subnode.nid))
                attachments.push_back(subnode);
            return true;
        });
        return attachments;
    }

    WholeAttachment ReadAttachment(const NodeRecord& node, const std::vector<std::uint32_t>& pages,
                                   unsigned depth)
    {
        WholeAttachment attachment;
        const std::string what = "attachment " + NameOf(node);
        Attempt(what, [&] {
            CPropertyReader reader(m_database, node);
            attachment.properties = ReadProperties(reader, what, true);
            m_texts.Widen(attachment.properties, pages);
            const auto object = reader.OpenObject(format::pid::kAttachDataBinary);
            if (!object)
                return;
            if (NumberOf(attachment.properties, format::pid::kAttachMethod) == kMethodEmbedded)
                attachment.embedded.push_back(ReadMessage(*object, pages, depth + 1));
            else
                attachment.object = CDataTreeReader(m_database, object->data).ReadAll();
        });
        return attachment;
    }

    CNdbReader m_database;
    CTexts m_texts;
    std::map<std::uint16_t, format::PropertyName> m_names;
    std::vector<NodeRecord> m_nodes;
    std::map<Nid, Folder> m_folders;
    Nid m_subtree;
    WholeStore m_store;
};

struct Counts {
    std::size_t embedded = 0;
    std::size_t files = 0;
};

void Count(const WholeMessage& message, Counts& counts)
{
    for (const WholeAttachment& attachment : message.attachments) {
        ++(attachment.embedded.empty() ? counts.files : counts.embedded);
        for (const WholeMessage& embedded : attachment.embedded)
            Count(embedded, counts);
    }
}

Counts CountIn(const WholeStore& store)
{
    Counts counts;
    for (const auto& [path, folder] : store.folders) {
        for (const WholeMessage& item : folder.items)
            Count(item, counts);
    }
    return counts;
}

}  // namespace

std::size_t WholeStore::CountItems(bool associated) const
{
    std::size_t count = 0;
    for (const auto& [path, folder] : folders)
        count += static_cast<std::size_t>(std::count_if(
            folder.items.begin(), folder.items.end(),
            [associated](const WholeMessage& item) { return item.isAssociated == associated; }));
    return count;
}

std::size_t WholeStore::CountEmbedded() const
{
    return CountIn(*this).embedded;
}

std::size_t WholeStore::CountFiles() const
{
    return CountIn(*this).files;
}

WholeStore ReadWholeStore(const std::filesystem::path& path, const std::string& codePage)
{
    const auto source = platform::HostFileSystem().OpenSource(path);
    if (!source)
        throw std::runtime_error(path.string() + " cannot be opened");
    return CWholeReader(*source, codePage).Read();
}

std::u16string TextOf(const WholeObject& object, std::uint16_t id)
{
    const auto found = object.find(id);
    return found == object.end() || found->second.type != PropertyType::String ? std::u16string()
                                                                               : TextOf(found->second.bytes);
}

}  // namespace pastille::tests
