#include <gtest/gtest.h>

#include "tests/scenario/Repair.h"

namespace pastille::tests {
namespace {

const std::u16string kOddNames[] = {u"/",
                                    u"..",
                                    u".",
                                    u"../../escape",
                                    u"C:",
                                    u"con",
                                    u"a/b",
                                    u" ",
                                    u"tab\tand\nline",
                                    u"\u202Egnp.exe",
                                    u"name with \"quotes\" <and> |bars|?*",
                                    std::u16string(300, u'n')};

TEST(OddContent, FolderNamesAreNeverHostPaths)
{
    StoreDescription description;
    for (const std::u16string& name : kOddNames) {
        StoreFolder folder{.name = name, .containerClass = u"IPF.Note"};
        folder.messages = {Mail(u"In an odd folder", u"Ada", u"Text", FileTime(2020, 1, 1))};
        folder.messages.front().label = "in " + platform::ToUtf8(name);
        description.folders.push_back(folder);
    }
    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    EXPECT_EQ(repair.Strangers(), std::vector<std::string>());
    EXPECT_EQ(AllItems(repair.ReadBack()), AllItems(Expected(description)));
}

TEST(OddContent, NamesOfManyThousandCharactersAndPathSeparatorsKeepTheItems)
{
    StoreDescription description;
    for (const std::u16string& name :
         {std::u16string(32'000, u'x'), std::u16string(1'700, u'y'), std::u16string(u"back\\slash"),
          std::u16string(u"\\"), std::u16string()}) {
        StoreFolder folder{.name = name, .containerClass = u"IPF.Note"};
        folder.messages = {Mail(u"Kept", u"Ada", u"Text", FileTime(2020, 1, 1))};
        description.folders.push_back(folder);
    }
    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    EXPECT_EQ(AllItems(repair.ReadBack()), AllItems(Expected(description)));
}

TEST(OddContent, FarTimesAndEmptyTextsSurvive)
{
    StoreDescription description;
    StoreFolder inbox{.name = u"Inbox", .containerClass = u"IPF.Note"};
    for (const std::uint64_t time : {std::uint64_t{0}, std::uint64_t{1}, FileTime(1899, 12, 30, 6),
                                     FileTime(9999, 12, 31), ~std::uint64_t{0}, std::uint64_t{1} << 63})
        inbox.messages.push_back(Mail(u"When", u"", u"", time));
    for (std::size_t i = 0; i < inbox.messages.size(); ++i)
        inbox.messages[i].label = "when " + std::to_string(i);
    description.folders = {inbox};
    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    EXPECT_EQ(repair.frontEnd.completions, 1);
    EXPECT_EQ(repair.ReadBack().at(u"\\Inbox").size(), inbox.messages.size());
}

TEST(OddContent, MailsWithoutARecipientLineComeBack)
{
    StoreDescription description;
    StoreMessage mail = Mail(u"Draft", u"Ada", u"Text", FileTime(2020, 1, 1));
    std::erase_if(mail.properties, [](const StoreProperty& property) {
        return property.id == format::pid::kDisplayTo || property.id == format::pid::kSubject;
    });
    description.folders = {{.name = u"Inbox", .messages = {mail}}};
    CRepair repair(CBuiltStore(description).Content());
    repair.Run();
    const SeenStore found = repair.ReadBack();
    ASSERT_EQ(found.at(u"\\Inbox").size(), 1u);
    EXPECT_EQ(found.at(u"\\Inbox").front().subject, u"Draft")
        << "the conversation's topic stands for the subject";
}

}  // namespace
}  // namespace pastille::tests
