#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "platform/Text.h"
#include "tests/scenario/NewStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/StoreFamilies.h"

namespace pastille::tests {
namespace {

using format::Variant;

/// The folder that a repair puts a sample into.
std::string FolderOf(const FamilySample& sample)
{
    const std::u16string& name = sample.message.messageClass;
    return "/" + platform::ToUtf8(name == u"IPM.Note" ? u"Inbox" : FamilyFolder(name));
}

void ExpectValues(const FoundItem& item, const FamilySample& sample)
{
    SCOPED_TRACE(sample.message.label);
    EXPECT_EQ(item.folder, FolderOf(sample));
    for (const ExpectedValue& expected : sample.expected) {
        const FoundValue* const found =
            expected.id != 0 ? FindValue(item, expected.id) : FindValue(item, expected.name);
        const bool same = found != nullptr && found->type == expected.type && found->bytes == expected.value;
        EXPECT_NE(same, expected.isLost) << testing::PrintToString(expected)
                                         << (found == nullptr ? " is missing" : " has another value or type");
    }
}

/// Every sample must be among the items once, with all its values.
void ExpectSamples(const std::vector<FoundItem>& items, const std::vector<FamilySample>& samples)
{
    EXPECT_EQ(items.size(), samples.size());
    for (const FamilySample& sample : samples) {
        const auto ofClass = OfClass(items, sample.message.messageClass);
        // The two mails differ in their state only, and come in the order of the folder.
        const bool isMail = sample.message.messageClass == u"IPM.Note";
        const std::size_t place = isMail && sample.message.flags == 0 ? 1 : 0;
        ASSERT_EQ(ofClass.size(), isMail ? 2u : 1u) << sample.message.label;
        ExpectValues(*ofClass[place], sample);
    }
}

/// The samples of classes that pffexport has a form for; of the others it shows nothing.
std::vector<FamilySample> KnownOutside(const std::vector<FamilySample>& samples)
{
    static const std::set<std::u16string> known = {u"IPM.Note",        u"IPM.Contact", u"IPM.DistList",
                                                   u"IPM.Appointment", u"IPM.Task",    u"IPM.StickyNote",
                                                   u"IPM.Activity"};
    std::vector<FamilySample> chosen;
    for (const FamilySample& sample : samples) {
        if (known.contains(sample.message.messageClass) ||
            sample.message.messageClass.starts_with(u"IPM.Schedule.Meeting."))
            chosen.push_back(sample);
    }
    return chosen;
}

struct Case {
    const char* name;
    Variant variant;
    FamilyOptions options;
    friend void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }
};

bool IsOdd(std::size_t number)
{
    return number % 2 == 1;
}

bool IsEven(std::size_t number)
{
    return number % 2 == 0;
}

const Case kCases[] = {
    {"Ansi", Variant::Ansi, {}},
    {"Unicode", Variant::Unicode, {}},
    {"Unicode4k", Variant::Unicode4k, {}},
    {"Ost", Variant::Unicode, {.isOst = true, .withoutRivals = true}},
    {"WithoutRivals", Variant::Unicode, {.withoutRivals = true}},
    {"EvenOnesOfAWrongType", Variant::Unicode, {.isWrong = IsEven}},
    {"OddOnesOfAWrongType", Variant::Unicode, {.isWrong = IsOdd}},
    {"OddOnesBeyondTheBlock", Variant::Unicode, {.isWrong = IsOdd, .wrongHnid = 0xFFE0}},
    {"OddOnesFarBeyondTheBlock", Variant::Ansi, {.isWrong = IsOdd, .wrongHnid = 0xFFFFFFE0}},
    {"OddOnesInNoSubnode", Variant::Unicode4k, {.isWrong = IsOdd, .wrongHnid = 0x7FFFF}},
};

class Families : public testing::TestWithParam<Case> {};

TEST_P(Families, KeepEveryValueAtItsPlace)
{
    const FamilyStore store = MakeFamilyStore(GetParam().variant, GetParam().options);
    CRepair repair(CBuiltStore(store.description).Content(),
                   GetParam().options.isOst ? "source.ost" : "source.pst");
    repair.Run();
    EXPECT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
    ExpectSamples(ReadNewStore(repair.state.outputPath), store.samples);
    if (const auto items = ReadItemsWithPffexport(repair.state.outputPath))
        ExpectSamples(*items, KnownOutside(store.samples));
}

INSTANTIATE_TEST_SUITE_P(Stores, Families, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& tested) {
                             return std::string(tested.param.name);
                         });

}  // namespace
}  // namespace pastille::tests
