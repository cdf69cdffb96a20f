#include <vector>

#include "format/PropertyIds.h"
#include "tests/component/ComponentFixture.h"
#include "tests/scenario/NewStore.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;
namespace pid = format::pid;

constexpr std::uint16_t kExtension = 0x3703;     // PidTagAttachExtension
constexpr std::uint16_t kContactPhoto = 0x7FFF;  // PidTagAttachmentContactPhoto

class ComponentAttachments : public CComponentStoreFixture {
protected:
    static std::u16string TextOf(const FoundValues& values, std::uint16_t id)
    {
        return values.contains(id) ? TextValue(values, id) : u"none";
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
    const auto attachments = ReadNewStore(StorePath()).at(0).attachments;
    ASSERT_EQ(attachments.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i);
        const FoundValues& properties = attachments[i].values;
        EXPECT_EQ(TextOf(properties, pid::kAttachLongFilename), cases[i].storedName);
        EXPECT_EQ(TextOf(properties, pid::kAttachFilename), cases[i].shortName);
        EXPECT_EQ(TextOf(properties, kExtension), cases[i].extension);
        const auto& shown = cases[i].displayName.empty() ? cases[i].storedName : cases[i].displayName;
        EXPECT_EQ(TextOf(properties, pid::kDisplayName), shown == u"\xDFFF" ? u"\uFFFD" : shown);
        EXPECT_EQ(attachments[i].data, Binary(0, "bytes").value);
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
    const auto items = ReadNewStore(StorePath());
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(TextOf(items[0].values, pid::kSubject), u"kept and changed");
    EXPECT_EQ(TextOf(items[1].attachments.at(0).embedded.at(0).values, pid::kSubject), u"kept");
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
    const StoreName hasPicture{format::propset::kAddress, 0x8015, {}};
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
    const auto items = ReadNewStore(StorePath());
    ASSERT_EQ(items.size(), pictures.size() + 2);
    for (std::size_t i = 0; i < items.size(); ++i) {
        SCOPED_TRACE(i);
        std::vector<Bytes> photos;
        for (const FoundAttachment& attachment : items[i].attachments) {
            if (attachment.values.contains(kContactPhoto))
                photos.push_back(attachment.data);
        }
        const bool isLast = i == items.size() - 1;
        const std::string expected = i < pictures.size() ? pictures[i] : isLast ? jpeg : "";
        EXPECT_EQ(photos, std::vector<Bytes>(expected.empty() ? 0 : 1, Binary(0, expected).value));
        const FoundValue* const flag = FindValue(items[i], hasPicture);
        EXPECT_EQ(flag != nullptr && flag->bytes[0] != std::byte{}, !expected.empty());
        EXPECT_EQ(items[i].attachments.size(), i == 0 || i == pictures.size() ? 4u : isLast ? 1u : 3u);
    }
    EXPECT_EQ(TextOf(items.back().attachments[0].values, pid::kAttachLongFilename), u"ContactPicture.jpg");
}

}  // namespace
}  // namespace pastille::tests
