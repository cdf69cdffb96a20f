#pragma once

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/messaging/NameMap.h"
#include "component/pst/messaging/PstStore.h"
#include "component/pst/ndb/NdbReader.h"
#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/support/StoreFindings.h"
#include "writer/WholeItems.h"

/// Whole objects put into a store of the component, and what then stands in its file.
namespace pastille::tests::whole {

using namespace writer;
using component::pst::CNdbReader;
using component::pst::CPropertyReader;
using component::pst::CTableReader;
using component::pst::NodeRecord;
using format::Nid;
using format::NidType;
using format::PropertyTag;
using format::PropertyType;
namespace pid = format::pid;

constexpr std::uint16_t kHiddenCount = 0x6635;
constexpr std::uint16_t kHiddenUnread = 0x6636;
constexpr std::uint64_t kAnySize = std::uint64_t{1} << 30;

inline PropertyTag Tag(std::uint32_t value)
{
    return PropertyTag::FromValue(value);
}
inline std::span<const std::byte> AsBytes(const std::string& text)
{
    return std::as_bytes(std::span(text));
}
inline bool Put(IPropertyTarget& target, std::uint32_t tag, const std::string& value)
{
    return target.SetProperty(Tag(tag), AsBytes(value));
}
inline bool PutStream(IPropertyTarget& target, std::uint32_t tag, const std::string& value)
{
    CMemoryStream stream(value);
    return target.SetProperty(Tag(tag), stream);
}
inline std::string Number(std::uint32_t value)
{
    std::string bytes(4, '\0');
    format::StoreLE<std::uint32_t>(std::as_writable_bytes(std::span(bytes)), 0, value);
    return bytes;
}
inline std::string Wide(std::string_view ascii)
{
    std::string bytes;
    for (const char c : ascii)
        bytes.append({c, '\0'});
    return bytes;
}

/// A property as it stands in a store: its type and bytes.
struct Stored {
    PropertyType type;
    std::string bytes;
    bool operator==(const Stored&) const = default;
};
using StoredValues = std::map<std::uint16_t, Stored>;

inline Stored StoredOf(const component::pst::PropertyValue& value)
{
    return {value.tag.type,
            std::string(reinterpret_cast<const char*>(value.bytes.data()), value.bytes.size())};
}

/// A finished store by the strict readers.
class CFinishedStore {
public:
    explicit CFinishedStore(std::unique_ptr<platform::IByteSource> source)
        : m_source(std::move(source)), m_database(*m_source)
    {
    }

    CNdbReader& Database() { return m_database; }
    StoredValues Values(const NodeRecord& node)
    {
        CPropertyReader reader(m_database, node);
        StoredValues values;
        for (const PropertyTag tag : reader.Tags())
            values[tag.id] = StoredOf(reader.Read(tag.id, kAnySize).value());
        return values;
    }
    NodeRecord Folder(const std::string& name)
    {
        NodeRecord found{};
        for (const NodeRecord& node : NodesOf(NidType::NormalFolder))
            if (Values(node)[pid::kDisplayName].bytes == Wide(name))
                found = node;
        return found;
    }
    std::vector<NodeRecord> NodesOf(NidType type)
    {
        std::vector<NodeRecord> nodes;
        m_database.VisitNodes([&](const NodeRecord& node) {
            if (node.nid.Type() == type)
                nodes.push_back(node);
            return true;
        });
        return nodes;
    }
    CTableReader Table(Nid folder, NidType type)
    {
        return {m_database, *m_database.FindNode(Nid::Make(type, folder.Index()))};
    }
    std::vector<StoredValues> Recipients(const NodeRecord& message)
    {
        CTableReader table(m_database, Subnode(message, format::nids::kRecipientTable));
        table.VerifyRowIndex();
        std::vector<StoredValues> rows(table.RowCount());
        for (std::size_t row = 0; row < rows.size(); ++row) {
            const auto cells = table.ReadRow(row, kAnySize);
            for (const auto& value : cells.Values())
                if (value.tag.id != pid::kLtpRowId && value.tag.id != pid::kLtpRowVer)
                    rows[row][value.tag.id] = StoredOf(value);
        }
        return rows;
    }
    NodeRecord Subnode(const NodeRecord& node, Nid nid)
    {
        return component::pst::FindSubnode(m_database, node.sub, nid).value();
    }
    std::vector<NodeRecord> Attachments(const NodeRecord& message)
    {
        std::vector<NodeRecord> attachments;
        CTableReader table(m_database, Subnode(message, format::nids::kAttachmentTable));
        for (std::size_t row = 0; row < table.RowCount(); ++row)
            attachments.push_back(Subnode(message, Nid{table.RowIdAt(row)}));
        return attachments;
    }
    NodeRecord Object(const NodeRecord& attachment)
    {
        return CPropertyReader(m_database, attachment).OpenObject(pid::kAttachDataBinary).value();
    }

private:
    std::unique_ptr<platform::IByteSource> m_source;
    CNdbReader m_database;
};

class CWholeFixture : public CComponentStoreFixture {
protected:
    CWholeFixture() : wholeFolder(NewFolder(u"Brought")) {}

    CRef<IWholeFolder> NewFolder(std::u16string_view name)
    {
        return QueryInterface<IWholeFolder>(AddFolder(root, name));
    }
    /// A message with what the checker asks for, so that nothing has to be made up for it.
    static void PutBasics(IWholeMessage& message, std::uint32_t flags = 1)
    {
        Put(message, 0x001A001F, Wide("IPM.Post.Other"));
        Put(message, 0x0E070003, Number(flags));
        Put(message, 0x30070040, "12345678");
        Put(message, 0x30080040, "12345679");
        Put(message, 0x300B0102, "0123456789abcdef");
    }
    CRef<IWholeMessage> NewMessage(bool isAssociated = false, std::uint32_t flags = 1)
    {
        auto message = wholeFolder->AddMessage(isAssociated);
        PutBasics(*message, flags);
        return message;
    }
    /// Completes the store; nothing may be wrong with it but what one finding of the expected rule says.
    CFinishedStore Finish(const std::string& expectedRule = {})
    {
        store->Commit();
        const auto source = files.OpenSource(StorePath());
        const CStoreFindings findings = CheckedStore(*source);
        EXPECT_EQ(findings.text.substr(0, findings.text.find(' ')), expectedRule);
        EXPECT_LE(std::count(findings.text.begin(), findings.text.end(), '\n'), expectedRule.empty() ? 0 : 1);
        return CFinishedStore(files.OpenSource(StorePath()));
    }
    /// The error of setting a property on a new message.
    HRESULT ErrorOfSetting(std::uint32_t tag, const std::string& value)
    {
        const auto message = wholeFolder->AddMessage(false);
        return ErrorOf([&] { Put(*message, tag, value); }).first;
    }

    CRef<IWholeFolder> wholeFolder;
};

}  // namespace pastille::tests::whole
