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
                                    u"back\\slash",
                                    u"\\",
                                    u"",
                                    std::u16string(300, u'n'),
                                    std::u16string(32'000, u'x')};

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

}  // namespace
}  // namespace pastille::tests
