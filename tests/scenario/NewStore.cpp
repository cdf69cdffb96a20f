#include "tests/scenario/NewStore.h"

#include <gtest/gtest.h>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/ndb/NdbReader.h"
#include "format/Bytes.h"
#include "platform/Text.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::Nid;

constexpr std::uint64_t kLargestValue = std::uint64_t{1} << 30;
constexpr std::uint32_t kRootFolder = 0x122;
constexpr std::uint32_t kNameMap = 0x61;
constexpr std::uint32_t kAttachmentTable = 0x671;
constexpr std::uint32_t kRecipientTable = 0x692;

/// The node of the same folder with another type. [MS-PST] 2.4.4
Nid Sibling(Nid folder, std::uint32_t type)
{
    return Nid{(folder.value & ~0x1Fu) | type};
}

class CNewStoreReader {
public:
    explicit CNewStoreReader(platform::IByteSource& source) : m_database(source) { ReadNames(); }

    std::vector<FoundItem> ReadAll()
    {
        ReadFolder(Nid{kRootFolder}, "");
        return std::move(m_items);
    }

private:
    NodeRecord Node(Nid nid)
    {
        const auto node = m_database.FindNode(nid);
        if (!node)
            throw std::runtime_error("node " + std::to_string(nid.value) + " is missing");
        return *node;
    }

    FoundValues ReadValues(CPropertyReader& reader)
    {
        FoundValues values;
        for (const format::PropertyTag tag : reader.Tags()) {
            const auto value = reader.Read(tag.id, kLargestValue);
            values[tag.id] = {tag.type, value ? value->bytes : Bytes()};
        }
        return values;
    }

    /// The names by the property ids that stand for them. [MS-PST] 2.4.7
    void ReadNames()
    {
        CPropertyReader reader(m_database, Node(Nid{kNameMap}));
        const Bytes guids = reader.Read(2, kLargestValue).value().bytes;
        const Bytes entries = reader.Read(3, kLargestValue).value().bytes;
        const Bytes strings = reader.Read(4, kLargestValue).value().bytes;
        for (std::size_t at = 0; at + 8 <= entries.size(); at += 8) {
            const auto number = format::LoadLE<std::uint32_t>(entries, at);
            const auto word = format::LoadLE<std::uint16_t>(entries, at + 4);
            const auto id =
                static_cast<std::uint16_t>(0x8000 + format::LoadLE<std::uint16_t>(entries, at + 6));
            StoreName name{.set = SetAt(guids, word >> 1)};
            if ((word & 1) == 0) {
                name.lid = number;
            } else {
                const auto size = format::LoadLE<std::uint32_t>(strings, number);
                for (std::size_t i = 0; i < size; i += 2)
                    name.name.push_back(
                        static_cast<char16_t>(format::LoadLE<std::uint16_t>(strings, number + 4 + i)));
            }
            m_names[id] = name;
        }
    }

    static format::Guid SetAt(const Bytes& guids, unsigned index)
    {
        if (index < 3)
            return index == 2 ? format::propset::kPublicStrings : format::propset::kMapi;
        format::Guid guid;
        const std::size_t at = 16 * (index - 3);
        guid.data1 = format::LoadLE<std::uint32_t>(guids, at);
        guid.data2 = format::LoadLE<std::uint16_t>(guids, at + 4);
        guid.data3 = format::LoadLE<std::uint16_t>(guids, at + 6);
        for (std::size_t i = 0; i < 8; ++i)
            guid.data4[i] = std::to_integer<std::uint8_t>(guids[at + 8 + i]);
        return guid;
    }

    FoundItem ReadItem(const NodeRecord& node)
    {
        CPropertyReader reader(m_database, node);
        FoundItem item;
        for (auto& [id, value] : ReadValues(reader)) {
            const auto name = m_names.find(id);
            if (id < 0x8000)
                item.values[id] = std::move(value);
            else if (name != m_names.end())
                item.named[name->second] = std::move(value);
            else
                ADD_FAILURE() << "property " << id << " has no name";
        }
        if (const auto recipients = reader.FindSubnode(Nid{kRecipientTable}))
            item.recipients = CTableReader(m_database, *recipients).RowCount();
        else
            ADD_FAILURE() << "an item without a recipient table";
        if (const auto attachments = reader.FindSubnode(Nid{kAttachmentTable}))
            ReadAttachments(reader, *attachments, item);
        const bool flagged = (NumberValue(item.values, format::pid::kMessageFlags) & 0x10) != 0;
        EXPECT_EQ(flagged, !item.attachments.empty());
        return item;
    }

    void ReadAttachments(CPropertyReader& message, const NodeRecord& tableNode, FoundItem& item)
    {
        CTableReader table(m_database, tableNode);
        table.VerifyRowIndex();
        for (std::size_t row = 0; row < table.RowCount(); ++row) {
            const auto node = message.FindSubnode(Nid{table.RowIdAt(row)});
            if (!node)
                throw std::runtime_error("a row of an attachment table has no attachment");
            CPropertyReader reader(m_database, *node);
            FoundAttachment attachment;
            attachment.values = ReadValues(reader);
            if (NumberValue(attachment.values, format::pid::kAttachMethod) == 5) {
                const auto object = reader.OpenObject(format::pid::kAttachDataBinary);
                if (!object)
                    throw std::runtime_error("an embedded message is missing");
                attachment.embedded.push_back(ReadItem(*object));
            } else if (const auto data = attachment.values.find(format::pid::kAttachDataBinary);
                       data != attachment.values.end()) {
                attachment.data = data->second.bytes;
            }
            item.attachments.push_back(std::move(attachment));
        }
    }

    void CompareRow(const CPropertyBag& row, const FoundItem& item)
    {
        for (const PropertyValue& cell : row.Values()) {
            const auto value = item.values.find(cell.tag.id);
            const bool same = value != item.values.end() && value->second.type == cell.tag.type;
            if (same && cell.tag.id != format::pid::kMessageStatus) {
                EXPECT_EQ(cell.bytes, value->second.bytes)
                    << "column " << std::hex << cell.tag.Value() << " differs from its item";
            }
        }
        for (const std::uint16_t id : {format::pid::kSubject, format::pid::kMessageClass,
                                       format::pid::kMessageFlags, format::pid::kMessageSize})
            EXPECT_EQ(row.Has(id), item.values.contains(id)) << "column of " << std::hex << id;
    }

    void ReadFolder(Nid folder, const std::string& path)
    {
        CTableReader contents(m_database, Node(Sibling(folder, 0x0E)));
        contents.VerifyRowIndex();
        for (std::size_t row = 0; row < contents.RowCount(); ++row) {
            m_items.push_back(ReadItem(Node(Nid{contents.RowIdAt(row)})));
            m_items.back().folder = path;
            CompareRow(contents.ReadRow(row, kLargestValue), m_items.back());
        }
        CTableReader hierarchy(m_database, Node(Sibling(folder, 0x0D)));
        for (std::size_t row = 0; row < hierarchy.RowCount(); ++row) {
            const Nid child{hierarchy.RowIdAt(row)};
            if ((child.value & 0x1F) != 2)
                continue;  // search folders have no contents of their own
            const auto name = hierarchy.Cell(row, format::pid::kDisplayName);
            const bool isTop = folder.value == kRootFolder;
            const auto text = name ? AsString(*name) : std::nullopt;
            ReadFolder(child, isTop ? "" : path + "/" + platform::ToUtf8(text.value_or(u"")));
        }
    }

    CNdbReader m_database;
    std::map<std::uint16_t, StoreName> m_names;
    std::vector<FoundItem> m_items;
};

}  // namespace

std::vector<FoundItem> ReadNewStore(const std::filesystem::path& path)
{
    try {
        const auto source = platform::HostFileSystem().OpenSource(path);
        EXPECT_EQ(CheckedStore(*source).errors, "");
        return CNewStoreReader(*source).ReadAll();
    } catch (const std::exception& error) {
        ADD_FAILURE() << "the new store is not sound: " << error.what();
        return {};
    }
}

}  // namespace pastille::tests
