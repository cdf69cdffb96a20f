#include <array>
#include <vector>

#include "tests/component/ComponentFixture.h"

namespace pastille::tests {
namespace {

using namespace writer;

class ComponentFolders : public CComponentStoreFixture {
protected:
    CRef<IStoreFolder> At(const std::u16string& names)
    {
        return session->GetFolderFromPath(u"\\\\" + std::u16string(kStoreName) + names);
    }
};

TEST_F(ComponentFolders, DefaultFoldersAreFoundByTheirKind)
{
    const std::array<std::tuple<std::u16string_view, std::int32_t, std::u16string_view>, 5> special{{
        {u"Contacts", 10, u"IPF.Contact"},
        {u"Journal", 11, u"IPF.Journal"},
        {u"Tasks", 13, u"IPF.Task"},
        {u"Notes", 12, u"IPF.StickyNote"},
        {u"Calendar", 9, u"IPF.Appointment"},
    }};
    EXPECT_EQ(ErrorOf([&] { session->GetDefaultFolder(9); }),
              std::pair(E_NOT_FOUND, IStoreSession::kInterfaceId));
    for (const auto& [name, kind, containerClass] : special) {
        const auto settings = QueryInterface<IFolderSettings>(root->GetFolders()->AddFolder(name, Missing{}));
        settings->SetDefaultFolderKind(kind);
        settings->SetFolderFlag(1);
    }
    const auto sync = AddFolder(root, u"Sync Issues", std::int32_t{20});
    AddFolder(sync, u"Conflicts", std::int32_t{19});
    AddFolder(sync, u"Sync Issues", std::int32_t{20});
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& [name, kind, containerClass] : special) {
            const auto found = session->GetDefaultFolder(kind);
            EXPECT_EQ(found->GetName(), name);
            EXPECT_EQ(found->GetContainerClass(), containerClass);
        }
        EXPECT_EQ(session->GetDefaultFolder(3)->GetName(), u"Deleted Items");
        EXPECT_EQ(session->GetDefaultFolder(19)->GetName(), u"Conflicts");
        EXPECT_EQ(session->GetDefaultFolder(20)->GetFolders()->GetCount(), 2)
            << "the first one of the kind stays";
        EXPECT_EQ(ErrorOf([&] { session->GetDefaultFolder(21); }).first, E_NOT_FOUND);
        Reopen();
    }
}

TEST_F(ComponentFolders, ContainerClassIsGivenImpliedOrInherited)
{
    AddFolder(AddFolder(root, u"given", std::u16string(u"IPF.Odd")), u"inherits");
    AddFolder(root, u"top");
    AddFolder(root, u"kind", std::int32_t{13});
    AddFolder(root, u"kind without class", std::int32_t{22});
    Reopen();
    EXPECT_EQ(At(u"\\given\\inherits")->GetContainerClass(), u"IPF.Odd");
    EXPECT_EQ(At(u"\\top")->GetContainerClass(), u"IPF.Note");
    EXPECT_EQ(At(u"\\kind")->GetContainerClass(), u"IPF.Task");
    EXPECT_EQ(At(u"\\kind without class")->GetContainerClass(), u"IPF.Note");
}

TEST_F(ComponentFolders, NamesAreFoundAsTheyWereGiven)
{
    const std::vector<std::u16string> names{
        u"plain", u"Plain", u"", u"a\\b", u"\\", u"a/b:c*?", std::u16string(u"con\x07trol\x85"),
        std::u16string(400, u'n'),
        // 254 units and a surrogate pair over the limit: the pair goes as a whole.
        std::u16string(254, u's') + u"\U0001F600", u"\xD800lone"};
    for (const auto& name : names)
        AddFolder(AddFolder(root, name), u"child\\of");
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(root->GetFolders()->GetCount(), static_cast<std::int32_t>(names.size() + 1));
        for (const auto& name : names) {
            EXPECT_TRUE(FindFolder(root, name));
            EXPECT_EQ(At(u"\\" + name)->GetFolders()->GetCount(), 1);
            EXPECT_EQ(At(u"\\" + name + u"\\child\\of")->GetName(), u"child\\of");
        }
        EXPECT_EQ(FindFolder(root, names[6])->GetName(), u"control");
        EXPECT_EQ(FindFolder(root, names[7])->GetName().size(), 255u);
        EXPECT_EQ(FindFolder(root, names[8])->GetName(), std::u16string(254, u's'));
        EXPECT_EQ(FindFolder(root, names[9])->GetName(), u"\uFFFDlone") << "half a character is none";
        EXPECT_FALSE(FindFolder(root, u"PLAIN"));
        Reopen();
    }
}

// Names that the file cannot tell apart are one folder in every session.
TEST_F(ComponentFolders, NamesThatFallTogetherAreTheSameFolder)
{
    AddFolder(root, std::u16string(255, u'x') + u"one");
    EXPECT_TRUE(FindFolder(root, std::u16string(255, u'x') + u"two"));
    EXPECT_EQ(ErrorOf([&] { AddFolder(root, std::u16string(255, u'x')); }).second, IFolderList::kInterfaceId);
    AddFolder(root, u"tab\there");
    EXPECT_EQ(FindFolder(root, u"tabhere")->GetName(), u"tabhere");
    EXPECT_EQ(root->GetFolders()->GetCount(), 3);
}

TEST_F(ComponentFolders, PathWithSeveralMeaningsLeadsToTheFolderThatFits)
{
    const auto a = AddFolder(root, u"a");
    AddFolder(AddFolder(a, u"b"), u"c");
    AddFolder(root, u"a\\b");
    EXPECT_EQ(At(u"\\a\\b")->GetName(), u"a\\b") << "the longest name wins";
    EXPECT_EQ(At(u"\\a\\b\\c")->GetName(), u"c") << "but only when the rest is there too";
    EXPECT_EQ(At(u"")->GetFolders()->GetCount(), 3);
    for (const std::u16string path : {u"\\none", u"\\a\\b\\c\\d", u"x", u"\\"})
        EXPECT_EQ(ErrorOf([&] { At(path); }), std::pair(E_NOT_FOUND, IStoreSession::kInterfaceId));
    for (const std::u16string path : {u"", u"\\\\", u"\\\\other", u"old Recovered\\a", u"\\old Recovered\\a"})
        EXPECT_EQ(ErrorOf([&] { session->GetFolderFromPath(path); }).first, E_NOT_FOUND);
}

TEST_F(ComponentFolders, CutNamesDoNotSwallowTheRestOfThePath)
{
    const std::u16string name(300, u'z');
    auto deepest = root;
    std::u16string path;
    for (int depth = 0; depth < 12; ++depth) {
        EXPECT_EQ(ErrorOf([&] { At(path + u"\\" + name); }).first, E_NOT_FOUND);
        deepest = AddFolder(deepest, name);
        path += u"\\" + name;
        EXPECT_EQ(At(path)->GetFolders()->GetCount(), 0);
    }
    AddFolder(deepest, name + u"\\tail");
    EXPECT_EQ(At(path + u"\\" + name + u"\\tail")->GetFolders()->GetCount(), 0);
    EXPECT_EQ(ErrorOf([&] { At(path + u"\\" + name + u"\\other"); }).first, E_NOT_FOUND);
}

TEST_F(ComponentFolders, AreNumberedFromOneInTheOrderOfTheirMaking)
{
    for (int i = 0; i < 600; ++i)
        AddFolder(root, u"folder " + std::u16string(1, static_cast<char16_t>(0x4E00 + i)));
    for (int pass = 0; pass < 2; ++pass) {
        const auto folders = root->GetFolders();
        ASSERT_EQ(folders->GetCount(), 601);
        EXPECT_EQ(folders->GetFolder(std::int32_t{1})->GetName(), u"Deleted Items");
        EXPECT_EQ(folders->GetFolder(std::int32_t{601})->GetName().back(), 0x4E00 + 599);
        EXPECT_FALSE(folders->GetFolder(std::int32_t{0}));
        EXPECT_FALSE(folders->GetFolder(std::int32_t{602}));
        EXPECT_FALSE(folders->GetFolder(std::int32_t{-1}));
        Reopen();
    }
}

}  // namespace
}  // namespace pastille::tests
