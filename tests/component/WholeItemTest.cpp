#include <array>
#include <map>
#include <string>
#include <vector>

#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/TableReader.h"
#include "component/pst/messaging/NameMap.h"
#include "component/pst/ndb/NdbReader.h"
#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/StoreFindings.h"
#include "writer/WholeItems.h"

namespace pastille::tests {
namespace {

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

PropertyTag Tag(std::uint32_t value)
{
    return PropertyTag::FromValue(value);
}
std::span<const std::byte> AsBytes(const std::string& text)
{
    return std::as_bytes(std::span(text));
}
bool Put(IPropertyTarget& target, std::uint32_t tag, const std::string& value)
{
    return target.SetProperty(Tag(tag), AsBytes(value));
}
bool PutStream(IPropertyTarget& target, std::uint32_t tag, const std::string& value)
{
    CMemoryStream stream(value);
    return target.SetProperty(Tag(tag), stream);
}
std::string Number(std::uint32_t value)
{
    std::string bytes(4, '\0');
    format::StoreLE<std::uint32_t>(std::as_writable_bytes(std::span(bytes)), 0, value);
    return bytes;
}
std::string Wide(std::string_view ascii)
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

Stored StoredOf(const component::pst::PropertyValue& value)
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

class WholeItems : public CComponentStoreFixture {
protected:
    WholeItems() : wholeFolder(NewFolder(u"Brought")) {}

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
    /// Completes the store; nothing may be wrong with it.
    CFinishedStore Finish()
    {
        store->Commit();
        const auto source = files.OpenSource(StorePath());
        const CStoreFindings findings = CheckedStore(*source);
        EXPECT_EQ(findings.text, "");
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

/// A list of values of varying length. [MS-PST] 2.3.3.4.2
std::string ListOf(const std::vector<std::string>& elements)
{
    std::string head = Number(static_cast<std::uint32_t>(elements.size())), data;
    for (const std::string& element : elements) {
        head += Number(static_cast<std::uint32_t>(4 + 4 * elements.size() + data.size()));
        data += element;
    }
    return head + data;
}

TEST_F(WholeItems, ValuesOfEveryTypeAreKeptToTheByte)
{
    const std::string nul(1, '\0');
    const std::map<std::uint32_t, std::string> values{
        {0x60000002, "ab"},
        {0x60010003, "abcd"},
        {0x60020004, "\xFF\xFF\xFF\x7F"},
        {0x60030005, "abcdefgh"},
        {0x60040006, "currency"},
        {0x60050007, "apptime."},
        {0x6006000A, Number(0x8004010F)},
        {0x6007000B, "\x01"},
        {0x6008000B, nul},
        {0x60090014, "int64..."},
        {0x600A001E, "8-bit\xE4"},
        {0x600B001F, Wide("a") + Wide(nul) + Wide("b")},
        {0x600C001F, ""},
        {0x600D0040, "filetime"},
        {0x600E0048, "0123456789ABCDEF"},
        {0x600F00FB, "server id"},
        {0x601000FD, "restriction"},
        {0x601100FE, "rule action"},
        {0x60120102, std::string("\0\1\2\xFF", 4)},
        {0x60130102, ""},
        {0x60140102, std::string(3580, 'h')},
        {0x60150102, std::string(3581, 's')},
        {0x6016001F, Wide(std::string(30000, 'w'))},
        {0x60170102, std::string(8'500'000, 'x')},
        {0x60181002, "abcd"},
        {0x60191003, ""},
        {0x601A1004, "abcd"},
        {0x601B1005, "abcdefgh"},
        {0x601C1006, "abcdefgh"},
        {0x601D1007, "abcdefgh"},
        {0x601E1014, "abcdefghabcdefgh"},
        {0x601F101E, ListOf({"one", "", "three"})},
        {0x6020101F, ListOf({Wide("one"), Wide("two")})},
        {0x60211040, "abcdefgh"},
        {0x60221048, std::string(32, 'g')},
        {0x60231102, ListOf({std::string(5000, 'a'), "b"})},
        {0x60241102, ListOf({})},
    };
    const auto given = NewMessage();
    const auto streamed = NewMessage();
    for (const auto& [tag, bytes] : values) {
        EXPECT_TRUE(Put(*given, tag, bytes)) << std::hex << tag;
        EXPECT_TRUE(PutStream(*streamed, tag, bytes)) << std::hex << tag;
    }
    EXPECT_TRUE(Put(*given, 0x60010040, "retyped!"));
    EXPECT_TRUE(Put(*given, 0x6025000B, "\x05"));
    given->Save();
    streamed->Save();

    auto finished = Finish();
    const auto messages = finished.NodesOf(NidType::NormalMessage);
    ASSERT_EQ(messages.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) {
        auto stored = finished.Values(messages[i]);
        for (const auto& [tag, bytes] : values) {
            const bool isRetyped = i == 0 && tag == 0x60010003;
            const auto expected =
                isRetyped ? Stored{PropertyType::Time, "retyped!"} : Stored{Tag(tag).type, bytes};
            EXPECT_TRUE(stored[Tag(tag).id] == expected) << std::hex << tag;
        }
        EXPECT_EQ(stored[pid::kMessageClass].bytes, Wide("IPM.Post.Other"));
        EXPECT_EQ(stored.size(), values.size() + 6 + (i == 0 ? 1 : 0)) << "and PidTagMessageSize";
    }
    EXPECT_EQ(finished.Values(messages[0])[0x6025].bytes, "\x01");
}

TEST_F(WholeItems, WhatIsNoValueOfItsTypeIsRefused)
{
    for (const std::uint32_t tag : {0x60000002, 0x60010003, 0x60020004, 0x60030005, 0x6006000A, 0x6007000B,
                                    0x60090014, 0x600D0040, 0x600E0048, 0x60181002, 0x601E1014, 0x60221048}) {
        EXPECT_EQ(ErrorOfSetting(tag, "seventeen bytes.."), E_INVALIDARG) << std::hex << tag;
        EXPECT_EQ(ErrorOfSetting(tag, std::string(5001, 'x')), E_INVALIDARG) << std::hex << tag;
    }
    EXPECT_EQ(ErrorOfSetting(0x600B001F, "odd"), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x600B001F, std::string(9001, 'x')), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x6020101F, ListOf({"odd"})), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x6020101F, Number(7)), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x60231102, Number(70000) + std::string(9000, 'x')), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0x60000001, "abcd"), E_INVALIDARG) << "a type that no property has";
    EXPECT_EQ(ErrorOfSetting(0x60001102 | 0x2000, ListOf({})), E_INVALIDARG);
    EXPECT_EQ(ErrorOfSetting(0xFF000003, Number(1)), E_INVALIDARG) << "an id without a name";
}

TEST_F(WholeItems, WhatTheStoreKeepsItselfIsNotOverwritten)
{
    const auto message =
        NewMessage(false, 0x59);  // unsent, and what does not fit it: associated, attachments
    const auto attachment = message->AddAttachment();
    const auto recipient = message->AddRecipient();
    struct Refused {
        IPropertyTarget& target;
        std::vector<std::uint32_t> tags;
    };
    const std::vector<Refused> refused{
        {*message,
         {0x0E080003, 0x0E1B000B, 0x0FFF0102, 0x0FF90102, 0x0E090102, 0x0FFB0102, 0x67F20003, 0x67F30003,
          0x6000000D}},
        {*attachment, {0x0E200003, 0x0E210003, 0x0FF90102, 0x67F20003, 0x3701000D}},
        {*recipient, {0x67F20003, 0x67F30003, 0x3001001E, 0x6000000D}},
        {*wholeFolder,
         {0x3001001F, 0x36020003, 0x36030003, 0x360A000B, 0x66350003, 0x66360003, 0x36D00102, 0x36D81102,
          0x0FFF0102, 0x67F30003, 0x3613001E}},
    };
    const std::map<std::uint16_t, std::string> sample{{0x000B, "\x01"}, {0x000D, "12345678"}};
    for (const Refused& entry : refused)
        for (const std::uint32_t tag : entry.tags) {
            const auto special = sample.find(static_cast<std::uint16_t>(tag));
            const std::string value = special != sample.end() ? special->second : ListOf({});
            EXPECT_FALSE(Put(entry.target, tag, value)) << std::hex << tag;
            EXPECT_FALSE(PutStream(entry.target, tag, value)) << std::hex << tag;
        }
    EXPECT_TRUE(Put(*recipient, 0x0FFF0102, "an address"));
    EXPECT_TRUE(Put(*recipient, 0x0FF90102, "a key of it"));
    message->Save();

    auto finished = Finish();
    const NodeRecord node = finished.NodesOf(NidType::NormalMessage).at(0);
    EXPECT_EQ(finished.Values(node)[pid::kMessageFlags].bytes, Number(0x09));
    EXPECT_EQ(finished.Recipients(node).at(0)[0x0FFF].bytes, "an address");
    EXPECT_EQ(finished.Values(finished.Folder("Brought"))[pid::kContentCount].bytes, Number(1));
}

TEST_F(WholeItems, ObjectsThatWereSavedTakeNoMore)
{
    const auto message = NewMessage();
    const auto attachment = message->AddAttachment();
    const auto inner = attachment->AddMessage();
    attachment->Save();
    EXPECT_EQ(ErrorOf([&] { inner->Save(); }).first, E_INVALIDARG) << "its attachment is written already";
    const auto late = message->AddAttachment();
    const auto recipient = message->AddRecipient();
    message->Save();
    EXPECT_EQ(ErrorOf([&] { message->Save(); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { late->Save(); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { message->AddAttachment(); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { Put(*recipient, 0x3001001F, Wide("x")); }).first, E_INVALIDARG);
    EXPECT_EQ(ErrorOf([&] { Put(*message, 0x0037001F, Wide("x")); }).first, E_INVALIDARG);
    NewMessage();  // never saved
    EXPECT_EQ(Finish().NodesOf(NidType::NormalMessage).size(), 1u);
}

TEST_F(WholeItems, StoresOpenedForReadingTakeNothing)
{
    Reopen();
    const auto brought = QueryInterface<IWholeFolder>(FindFolder(root, u"Brought"));
    const auto names = QueryInterface<IPropertyNames>(store);
    EXPECT_EQ(ErrorOf([&] { brought->AddMessage(false); }),
              std::pair(E_ACCESSDENIED, IWholeFolder::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] { Put(*brought, 0x3004001F, Wide("x")); }),
              std::pair(E_ACCESSDENIED, IPropertyTarget::kInterfaceId));
    EXPECT_EQ(ErrorOf([&] {
                  names->GetPropertyId({format::propset::kTask, 0x8101, {}});
              }),
              std::pair(E_ACCESSDENIED, IPropertyNames::kInterfaceId));
}

TEST_F(WholeItems, NamedPropertiesKeepTheirNames)
{
    const format::Guid own{0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
    const std::vector<format::PropertyName> names{{own, 0x1234, {}},
                                                  {own, 0, u"a name"},
                                                  {format::propset::kMapi, 0, u"a name"},
                                                  {format::propset::kPublicStrings, 0, u"Keywords"},
                                                  {format::propset::kTask, 0x8101, {}}};
    const auto map = QueryInterface<IPropertyNames>(store);
    const auto message = NewMessage();
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::uint16_t id = map->GetPropertyId(names[i]);
        EXPECT_EQ(map->GetPropertyId(names[i]), id);
        EXPECT_TRUE(Put(*message, std::uint32_t{id} << 16 | 3, Number(static_cast<std::uint32_t>(i))));
    }
    message->Save();
    auto finished = Finish();
    const auto stored = component::pst::CNameMap::Decode(
        CPropertyReader(finished.Database(), *finished.Database().FindNode(format::nids::kNameToIdMap))
            .ReadAll(kAnySize));
    auto values = finished.Values(finished.NodesOf(NidType::NormalMessage).at(0));
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(values[stored.Find(names[i]).value()].bytes, Number(static_cast<std::uint32_t>(i)));
}

TEST_F(WholeItems, RecipientsKeepPropertiesThatTheTemplateHasNoColumnFor)
{
    constexpr std::uint32_t kCount = 2000;
    const auto message = NewMessage();
    for (std::uint32_t i = 0; i < kCount; ++i) {
        const auto recipient = message->AddRecipient();
        EXPECT_TRUE(Put(*recipient, 0x0C150003, Number(1 + i % 3)));
        EXPECT_TRUE(Put(*recipient, 0x3001001F, Wide("name " + std::to_string(i))));
        EXPECT_TRUE(Put(*recipient, 0x5FFD0003, Number(i)));
        EXPECT_TRUE(Put(*recipient, 0x60000040, "filetime"));
        EXPECT_TRUE(Put(*recipient, 0x60010002, "ab"));
        EXPECT_TRUE(Put(*recipient, 0x6002000B, std::string(1, static_cast<char>(i % 2))));
        EXPECT_TRUE(Put(*recipient, 0x60030048, "0123456789ABCDEF"));
        if (i == 7) {
            EXPECT_TRUE(Put(*recipient, 0x39FE001F, Wide(std::string(9000, 'l'))));
        }
        if (i == 9) {
            EXPECT_FALSE(Put(*recipient, 0x39FE0102, "the column is of strings"));
        }
    }
    message->Save();
    const auto wide = NewMessage();
    const auto recipient = wide->AddRecipient();
    std::uint32_t added = 0;
    HRESULT result = 0;
    while (result == 0 && added < 300) {
        const std::uint32_t tag = (0x6000 + added) << 16 | (added % 3 == 0 ? 0x000B : 0x0002);
        result = ErrorOf([&] { Put(*recipient, tag, added % 3 == 0 ? "\x01" : "ab"); }).first;
        added += result == 0 ? 1 : 0;
    }
    EXPECT_EQ(result, E_INVALIDARG);
    EXPECT_EQ(added, 255u - 14u);
    wide->Save();

    auto finished = Finish();
    const auto messages = finished.NodesOf(NidType::NormalMessage);
    auto rows = finished.Recipients(messages.at(0));
    ASSERT_EQ(rows.size(), kCount);
    for (std::uint32_t i = 0; i < kCount; i += 7) {
        EXPECT_EQ(rows[i].size(), i == 7 ? 8u : 7u);
        EXPECT_EQ(rows[i][0x0C15].bytes, Number(1 + i % 3));
        EXPECT_EQ(rows[i][0x3001].bytes, Wide("name " + std::to_string(i)));
        EXPECT_EQ(rows[i][0x5FFD].bytes, Number(i));
        EXPECT_EQ(rows[i][0x6000].bytes, "filetime");
        EXPECT_EQ(rows[i][0x6001].bytes, "ab");
        EXPECT_EQ(rows[i][0x6002].bytes, std::string(1, static_cast<char>(i % 2)));
        EXPECT_EQ(rows[i][0x6003].bytes, "0123456789ABCDEF");
    }
    EXPECT_EQ(rows[7][0x39FE].bytes, Wide(std::string(9000, 'l')));
    auto wideRow = finished.Recipients(messages.at(1)).at(0);
    EXPECT_EQ(wideRow.size(), added + 1) << "and a type, which each recipient has";
    EXPECT_EQ(wideRow[0x0C15].bytes, Number(1));
    EXPECT_EQ(wideRow[0x6000 + 3].bytes, "\x01");
    EXPECT_EQ(wideRow[0x6000 + 4].bytes, "ab");
}

TEST_F(WholeItems, AttachmentsOfEveryMethod)
{
    const std::string large(5'000'000, 'L');
    const auto message = NewMessage();
    const auto add = [&](std::uint32_t method, const auto& fill) {
        const auto attachment = message->AddAttachment();
        Put(*attachment, 0x37050003, Number(method));
        Put(*attachment, 0x3704001F, Wide("short" + std::to_string(method)));
        Put(*attachment, 0x370B0003, Number(method * 10));
        Put(*attachment, 0x3712001F, Wide("content@id"));
        fill(*attachment);
        attachment->Save();
    };
    const auto addInner = [](IWholeAttachment& a) {
        const auto inner = a.AddMessage();
        PutBasics(*inner);
        const auto recipient = inner->AddRecipient();
        Put(*recipient, 0x0C150003, Number(2));
        const auto file = inner->AddAttachment();
        Put(*file, 0x37010102, "inner bytes");
        file->Save();
        inner->Save();
    };
    const auto setObject = [](IWholeAttachment& a, const std::string& bytes) {
        CMemoryStream stream(bytes);
        a.SetObject(stream);
    };
    add(0, [](IWholeAttachment&) {});
    add(1, [&](IWholeAttachment& a) { PutStream(a, 0x37010102, large); });
    for (const std::uint32_t method : {2, 3, 4, 7})
        add(method, [](IWholeAttachment& a) { Put(a, 0x370D001F, Wide("\\\\server\\file")); });
    add(5, addInner);
    add(6, [&](IWholeAttachment& a) { setObject(a, large); });
    // What comes last is what an attachment holds; what does not fit its method changes that.
    add(6, [&](IWholeAttachment& a) {
        addInner(a);
        setObject(a, "storage");
    });
    add(5, [&](IWholeAttachment& a) {
        addInner(a);
        Put(a, 0x37010102, "bytes");
    });
    add(1, [](IWholeAttachment&) {});
    add(5, [](IWholeAttachment&) {});
    message->AddAttachment()->Save();
    message->Save();

    auto finished = Finish();
    const NodeRecord node = finished.NodesOf(NidType::NormalMessage).at(0);
    EXPECT_EQ(finished.Values(node)[pid::kMessageFlags].bytes, Number(0x11));
    const auto attachments = finished.Attachments(node);
    const std::vector<std::uint32_t> methods{0, 1, 2, 3, 4, 7, 5, 6, 6, 1, 1, 0, 0};
    ASSERT_EQ(attachments.size(), methods.size());
    std::vector<StoredValues> values;
    for (std::size_t i = 0; i < methods.size(); ++i) {
        values.push_back(finished.Values(attachments[i]));
        EXPECT_EQ(values[i][pid::kAttachMethod].bytes, Number(methods[i])) << i;
        EXPECT_EQ(values[i][pid::kAttachNumber].bytes, Number(static_cast<std::uint32_t>(i)));
    }
    EXPECT_EQ(values[2][0x370D].bytes, Wide("\\\\server\\file"));
    EXPECT_EQ(values[2][pid::kRenderingPosition].bytes, Number(20));
    EXPECT_EQ(values[2][pid::kAttachContentId].bytes, Wide("content@id"));
    EXPECT_EQ(values[12][pid::kRenderingPosition].bytes, Number(0xFFFFFFFF));
    EXPECT_TRUE(values[1][pid::kAttachDataBinary].bytes == large);
    EXPECT_EQ(values[9][pid::kAttachDataBinary], (Stored{PropertyType::Binary, "bytes"}));
    const NodeRecord inner = finished.Object(attachments[6]);
    EXPECT_EQ(inner.nid.Type(), NidType::NormalMessage);
    EXPECT_EQ(finished.Recipients(inner).at(0)[0x0C15].bytes, Number(2));
    EXPECT_EQ(finished.Values(finished.Attachments(inner).at(0))[pid::kAttachDataBinary].bytes,
              "inner bytes");
    for (const auto& [number, bytes] : {std::pair(7, large), std::pair(8, std::string("storage"))}) {
        const NodeRecord object = finished.Object(attachments[static_cast<std::size_t>(number)]);
        EXPECT_EQ(object.nid.Type(), NidType::OleStream);
        const auto stored = component::pst::CDataTreeReader(finished.Database(), object.data).ReadAll();
        EXPECT_TRUE(std::ranges::equal(stored, AsBytes(bytes)));
    }
}

TEST_F(WholeItems, MessagesInOneAnotherToTheDepthThatIsAllowed)
{
    constexpr int kDeepest = 1000;
    std::vector<CRef<IWholeMessage>> messages{NewMessage()};
    std::vector<CRef<IWholeAttachment>> attachments;
    for (int i = 0; i < kDeepest; ++i) {
        attachments.push_back(messages.back()->AddAttachment());
        messages.push_back(attachments.back()->AddMessage());
        PutBasics(*messages.back());
        Put(*messages.back(), 0x0037001F, Wide("level " + std::to_string(i + 1)));
    }
    const auto tooDeep = messages.back()->AddAttachment();
    EXPECT_EQ(ErrorOf([&] { tooDeep->AddMessage(); }).first, E_INVALIDARG);
    for (int i = kDeepest; i > 0; --i) {
        messages[static_cast<std::size_t>(i)]->Save();
        attachments[static_cast<std::size_t>(i) - 1]->Save();
    }
    messages[0]->Save();

    // Changing the item reads all that it holds again, the sizes and the depth of its attachment.
    const auto item = FindFolder(root, u"Brought")->GetItems()->GetFirst();
    item->SetText(property::Subject, u"changed");
    item->Save();
    auto finished = Finish();
    NodeRecord node = finished.NodesOf(NidType::NormalMessage).at(0);
    for (int i = 0; i < kDeepest; ++i)
        node = finished.Object(finished.Attachments(node).at(0));
    EXPECT_EQ(finished.Values(node)[pid::kSubject].bytes, Wide("level 1000"));
}

TEST_F(WholeItems, AssociatedMessagesStandInTheirOwnTable)
{
    NewMessage(false, 0)->Save();
    const auto read = NewMessage(true, 0x49);
    Put(*read, 0x7006001F, Wide("a view"));
    Put(*read, 0x68420102, std::string(100'000, 'r'));
    read->Save();
    NewMessage(true, 0)->Save();
    EXPECT_EQ(FindFolder(root, u"Brought")->GetItems()->GetCount(), 1);

    auto finished = Finish();
    const NodeRecord brought = finished.Folder("Brought");
    auto values = finished.Values(brought);
    EXPECT_EQ(values[pid::kContentCount].bytes, Number(1));
    EXPECT_EQ(values[pid::kContentUnreadCount].bytes, Number(1));
    EXPECT_EQ(values[kHiddenCount].bytes, Number(2));
    EXPECT_EQ(values[kHiddenUnread].bytes, Number(1));
    auto table = finished.Table(brought.nid, NidType::AssociatedContentsTable);
    const auto messages = finished.NodesOf(NidType::AssociatedMessage);
    ASSERT_EQ(messages.size(), 2u);
    ASSERT_EQ(table.RowCount(), 2u);
    EXPECT_EQ(table.RowIdAt(0), messages[0].nid.value);
    EXPECT_EQ(StoredOf(table.Cell(0, 0x7006).value()).bytes, Wide("a view"));
    EXPECT_EQ(finished.Values(messages[0])[0x6842].bytes, std::string(100'000, 'r'));
    EXPECT_EQ(finished.Values(messages[1])[pid::kMessageFlags].bytes, Number(0x40));
    EXPECT_EQ(messages[1].parent, brought.nid);
    Reopen();
    EXPECT_EQ(FindFolder(root, u"Brought")->GetItems()->GetCount(), 1);
}

TEST_F(WholeItems, FolderPropertiesOutliveWhatTheStoreWritesLater)
{
    const auto long16 = Wide(std::string(20'000, 'c'));
    EXPECT_TRUE(Put(*wholeFolder, 0x3004001F, long16));
    EXPECT_TRUE(Put(*wholeFolder, 0x36DA0102, "flags"));
    EXPECT_TRUE(PutStream(*wholeFolder, 0x3613001F, Wide("IPF.Appointment")));
    const std::string large(9'000'000, 'x');
    for (int i = 0; i < 4; ++i) {  // each more than what may be lost, so that checkpoints come between
        const auto message = NewMessage();
        EXPECT_TRUE(PutStream(*message, 0x60000102, large));
        message->Save();
    }
    EXPECT_TRUE(Put(*wholeFolder, 0x36DA0102, "later"));
    EXPECT_EQ(FindFolder(root, u"Brought")->GetContainerClass(), u"IPF.Appointment");
    AddFolder(FindFolder(root, u"Brought"), u"Child");

    auto finished = Finish();
    const NodeRecord brought = finished.Folder("Brought");
    auto values = finished.Values(brought);
    EXPECT_EQ(values[0x3004].bytes, long16);
    EXPECT_EQ(values[0x36DA].bytes, "later");
    EXPECT_EQ(values[pid::kContainerClass].bytes, Wide("IPF.Appointment"));
    EXPECT_EQ(values[pid::kContentCount].bytes, Number(4));
    auto rows = finished.Table(brought.parent, NidType::HierarchyTable);
    const auto row = rows.FindRow(brought.nid.value);
    EXPECT_EQ(StoredOf(rows.Cell(row.value(), pid::kContainerClass).value()).bytes, Wide("IPF.Appointment"));
}

TEST_F(WholeItems, ItemsChangedLaterKeepTheirRecipients)
{
    const auto message = NewMessage();
    const auto recipient = message->AddRecipient();
    Put(*recipient, 0x0C150003, Number(3));
    Put(*recipient, 0x39FE001F, Wide("someone@host"));
    Put(*recipient, 0x60000102, std::string(9000, 'b'));
    message->Save();
    const auto item = FindFolder(root, u"Brought")->GetItems()->GetFirst();
    item->SetText(property::Subject, u"changed");
    item->Save();
    auto finished = Finish();
    auto rows = finished.Recipients(finished.NodesOf(NidType::NormalMessage).at(0));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0x39FE].bytes, Wide("someone@host"));
    EXPECT_EQ(rows[0][0x6000].bytes, std::string(9000, 'b'));
}

TEST_F(WholeItems, MessagesGetWhatEveryMessageHas)
{
    const auto timed = wholeFolder->AddMessage(false);
    Put(*timed, 0x0E060040, "delivery");
    timed->Save();
    wholeFolder->AddMessage(true)->Save();
    store->Commit();
    const auto source = files.OpenSource(StorePath());
    EXPECT_EQ(CheckedStore(*source).errors, "");
    CFinishedStore finished(files.OpenSource(StorePath()));
    auto values = finished.Values(finished.NodesOf(NidType::NormalMessage).at(0));
    EXPECT_EQ(values[pid::kCreationTime].bytes, "delivery");
    EXPECT_EQ(values[pid::kLastModificationTime].bytes, "delivery");
    EXPECT_EQ(values[pid::kMessageClass].bytes, Wide("IPM.Note"));
}

TEST_F(WholeItems, OtherProgramsReadThem)
{
    const auto message = NewMessage();
    Put(*message, 0x001A001F, Wide("IPM.Note"));
    Put(*message, 0x0037001F, Wide("Brought over"));
    Put(*message, 0x1000001F, Wide("A body"));
    const auto recipient = message->AddRecipient();
    Put(*recipient, 0x0C150003, Number(1));
    Put(*recipient, 0x3001001F, Wide("Someone"));
    Put(*recipient, 0x39FE001F, Wide("someone@host"));
    for (int i = 0; i < 3; ++i) {
        const auto attachment = message->AddAttachment();
        Put(*attachment, 0x3704001F, Wide("file.txt"));
        if (i == 0)
            Put(*attachment, 0x37010102, "the bytes");
        if (i == 1) {
            CMemoryStream storage(std::string(10'000, 'o'));
            attachment->SetObject(storage);
        }
        if (i == 2) {
            const auto inner = attachment->AddMessage();
            PutBasics(*inner);
            Put(*inner, 0x0037001F, Wide("Inner"));
            inner->Save();
        }
        attachment->Save();
    }
    message->Save();
    NewMessage(true, 0x41)->Save();
    Finish();

    const auto counted = CountWithReadpst(StorePath());
    if (counted) {
        EXPECT_EQ(counted->messages, 1u);
    }
    const auto items = ReadItemsWithPffexport(StorePath());
    if (items) {
        ASSERT_EQ(items->size(), 1u);
        const FoundItem& item = items->front();
        EXPECT_EQ(TextValue(item.values, pid::kSubject), u"Brought over");
        ASSERT_EQ(item.attachments.size(), 3u);
    }
    EXPECT_TRUE(counted || items) << "no other reader is installed";
}

}  // namespace
}  // namespace pastille::tests
