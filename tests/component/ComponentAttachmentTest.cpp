#include <vector>

#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/component/StoreOnDisk.h"

namespace pastille::tests {
namespace {

using namespace writer;
using namespace component::pst;
namespace p = writer::property;
namespace pid = format::pid;

constexpr std::uint16_t kExtension = 0x3703;     // PidTagAttachExtension
constexpr std::uint16_t kContactPhoto = 0x7FFF;  // PidTagAttachmentContactPhoto

class ComponentAttachments : public CComponentFixture {
protected:
    void SetUp() override { CreateStore(); }

    static std::u16string TextOf(CPropertyReader& properties, std::uint16_t id)
    {
        const auto value = properties.Read(id);
        return value ? AsString(*value).value_or(u"no text") : u"none";
    }
    static std::string BytesOf(CPropertyReader& properties)
    {
        const auto value = properties.Read(pid::kAttachDataBinary);
        const auto bytes = value ? value->bytes : std::vector<std::byte>();
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
    static HRESULT Embed(const CRef<IMessageItem>& parent, const CRef<IMessageItem>& item)
    {
        return ErrorOf([&] { parent->GetAttachments()->AddAttachment(CRef<IStoreItem>(item), u"x"); }).first;
    }
};

TEST_F(ComponentAttachments, NamesAreDataAndNoPaths)
{
    struct Case {
        std::u16string fileName, displayName, storedName, shortName, extension;
    };
    const std::u16string longName = std::u16string(300, u'n') + u".txt";
    const std::vector<Case> cases{
        {u"a b.txt", u"", u"a b.txt", u"ab~1.txt", u".txt"},
        {u"../../x", u"", u"../../x", u"x", u"none"},
        {u"C:\\dir\\evil.exe", u"Shown", u"C:\\dir\\evil.exe", u"evil.exe", u".exe"},
        {std::u16string(u"a\0b.c", 5), u"", u"ab.c", u"ab.c", u".c"},
        {longName, u"", longName, u"nnnnnn~1.txt", u".txt"},
        {u"gpj\u202Eexe.", u"", u"gpj\u202Eexe.", u"gpjexe~1", u"."},
        {u"\xD800x\xDC00", u"\xDFFF", u"\uFFFDx\uFFFD", u"x~1", u"none"},
        {std::u16string(3000, u'.'), u"dots", std::u16string(3000, u'.'), u"ATTACH~1", u"."},
        {u"exactly8.doc", u"", u"exactly8.doc", u"exactly8.doc", u".doc"},
        {u"longer name.html", u"", u"longer name.html", u"longer~1.htm", u".html"},
        {u".profile", u"", u".profile", u"ATTACH~1.pro", u".profile"},
        {u"", u"only shown.txt", u"none", u"none", u"none"},
        {u"", u"", u"none", u"none", u"none"},
    };
    const auto item = AddItem(root, u"IPM.Note");
    for (const Case& each : cases)
        Attach(item, "bytes", each.fileName, each.displayName);
    item->Save();
    Reopen();
    ExpectSoundStore(StorePath());
    StoreOnDisk disk(StorePath());
    const auto attachments = disk.AttachmentsOf(disk.Messages().at(0));
    ASSERT_EQ(attachments.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        CPropertyReader properties(disk.reader, attachments[i]);
        EXPECT_EQ(TextOf(properties, pid::kAttachLongFilename), cases[i].storedName);
        EXPECT_EQ(TextOf(properties, pid::kAttachFilename), cases[i].shortName);
        EXPECT_EQ(TextOf(properties, kExtension), cases[i].extension);
        const auto& shown = cases[i].displayName.empty() ? cases[i].storedName : cases[i].displayName;
        EXPECT_EQ(TextOf(properties, pid::kDisplayName), shown == u"\xDFFF" ? u"\uFFFD" : shown);
        EXPECT_EQ(BytesOf(properties), "bytes");
    }
}

TEST_F(ComponentAttachments, SavedItemStaysAndACopyIsEmbedded)
{
    const auto kept = AddItem(root, u"IPM.Note", u"kept");
    kept->Save();
    const auto outer = AddItem(root, u"IPM.Note", u"outer");
    ASSERT_EQ(Embed(outer, kept), 0);
    outer->Save();
    kept->SetText(p::Subject, u"kept and changed");
    kept->Save();
    Reopen();
    ExpectSoundStore(StorePath());
    const auto items = root->GetItems();
    ASSERT_EQ(items->GetCount(), 2);
    EXPECT_EQ(items->GetFirst()->GetText(p::Subject), u"kept and changed");
    StoreOnDisk disk(StorePath());
    CPropertyReader attachment(disk.reader, disk.AttachmentsOf(disk.Messages().at(1)).at(0));
    CPropertyReader copy(disk.reader, attachment.OpenObject(pid::kAttachDataBinary).value());
    EXPECT_EQ(TextOf(copy, pid::kSubject), u"kept");
}

TEST_F(ComponentAttachments, RingsAndEndlessNestingAreRefused)
{
    const auto a = AddItem(root, u"IPM.Note", u"a");
    const auto b = AddItem(root, u"IPM.Note", u"b");
    const auto c = AddItem(root, u"IPM.Note", u"c");
    EXPECT_EQ(Embed(a, a), E_INVALIDARG);
    ASSERT_EQ(Embed(b, a), 0);
    ASSERT_EQ(Embed(c, b), 0);
    EXPECT_EQ(Embed(a, b), E_INVALIDARG);
    EXPECT_EQ(Embed(a, c), E_INVALIDARG);
    c->Save();
    EXPECT_EQ(Embed(c, root->GetItems()->GetFirst()), E_INVALIDARG) << "the same item by another object";

    auto nest = AddItem(root, u"IPM.Note", u"nest");
    int depth = 0;
    for (HRESULT result = 0; result == 0 && depth < 1000; ++depth) {
        const auto outer = AddItem(root, u"IPM.Note", u"nest");
        result = Embed(outer, nest);
        EXPECT_TRUE(result == 0 || result == E_INVALIDARG);
        if (result == 0)
            nest = outer;
    }
    EXPECT_GT(depth, 30);
    EXPECT_LT(depth, 200);
    nest->Save();
    const auto further = AddItem(root, u"IPM.Note", u"further");
    EXPECT_EQ(Embed(further, root->GetItems()->GetFirst()), 0);
    const auto items = root->GetItems();
    items->GetFirst();
    EXPECT_EQ(Embed(further, items->GetNext()), E_INVALIDARG) << "the depth of a saved item counts too";
    Reopen();
    ExpectSoundStore(StorePath());
}

TEST_F(ComponentAttachments, FirstPictureBecomesTheContactsPicture)
{
    const ItemProperty hasPicture = p::NamedFlag("HasPicture", format::propset::kAddress, 0x8015);
    const std::string jpeg = "\xFF\xD8\xFF\xE0 and the rest";
    const auto addPictures = [&](const std::vector<std::string>& contents, const char16_t* name) {
        const auto item = AddItem(root, u"IPM.Contact", u"x");
        for (const std::string& bytes : contents) {
            CMemoryStream stream(bytes, 2);
            QueryInterface<IContactItem>(item)->AddPicture(stream, name);
        }
        item->Save();
    };
    const std::vector<std::string> pictures{jpeg, "\x89PNG\r\n\x1A\n...", "GIF89a...", "GIF87a...", "BM..."};
    for (const std::string& bytes : pictures)
        addPictures({"no picture", bytes, jpeg}, u"photo.bin");
    addPictures({"no picture", "", "GIF", "\xFF\xD8"}, u"photo.jpg");
    addPictures({jpeg}, u"");
    const auto again = AddItem(root, u"IPM.Note", u"mail");
    EXPECT_FALSE(QueryInterface<IContactItem>(again));
    const auto saved = QueryInterface<IContactItem>(root->GetItems()->GetFirst());
    CMemoryStream second(jpeg);
    saved->AddPicture(second, u"second.jpg");
    saved->Save();
    Reopen();
    ExpectSoundStore(StorePath());
    const auto items = root->GetItems();
    StoreOnDisk disk(StorePath());
    const auto messages = disk.Messages();
    ASSERT_EQ(messages.size(), pictures.size() + 2);
    auto item = items->GetFirst();
    for (std::size_t i = 0; i < messages.size(); ++i, item = items->GetNext()) {
        SCOPED_TRACE(i);
        std::vector<std::string> photos;
        std::u16string name;
        for (const NodeRecord& node : disk.AttachmentsOf(messages[i])) {
            CPropertyReader attachment(disk.reader, node);
            if (attachment.Has(kContactPhoto))
                photos.push_back(BytesOf(attachment));
            name = TextOf(attachment, pid::kAttachLongFilename);
        }
        const bool isLast = i == messages.size() - 1;
        const auto expected = i < pictures.size() ? std::vector{pictures[i]}
                              : isLast            ? std::vector{jpeg}
                                                  : std::vector<std::string>();
        EXPECT_EQ(photos, expected);
        EXPECT_EQ(item->GetFlag(hasPicture) != 0, !expected.empty());
        EXPECT_EQ(item->GetAttachments()->GetCount(), i == 0 || i == pictures.size() ? 4 : isLast ? 1 : 3);
        if (isLast) {
            EXPECT_EQ(name, u"ContactPicture.jpg");
        }
    }
}

}  // namespace
}  // namespace pastille::tests
