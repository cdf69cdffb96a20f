#include <gtest/gtest.h>

#include "component/pst/ndb/NdbReader.h"
#include "format/Header.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"
#include "tests/support/Samples.h"
#include "tests/support/StoreFindings.h"
#include "tests/support/WholeCompare.h"

namespace pastille::tests {
namespace {

using platform::SourceKind;

constexpr std::uint64_t kSector = 512;

/// Code page of a sample's 8-bit texts where the items state none.
std::string CodePageOf(const std::filesystem::path& sample)
{
    return sample.filename() == "contacts-ansi.pst" ? "windows-932" : "windows-1252";
}

SourceKind KindOf(const std::filesystem::path& sample)
{
    return sample.extension() == ".ost" ? SourceKind::Ost : SourceKind::Pst;
}

/// The first place in the last two thirds of the file where a block begins.
std::uint64_t BlockBorder(const std::filesystem::path& sample)
{
    const auto source = platform::HostFileSystem().OpenSource(sample);
    component::pst::CNdbReader reader(*source, component::pst::DetectLayout(*source));
    const std::uint64_t third = source->Size() / 3;
    std::uint64_t border = source->Size();
    reader.VisitBlocks([&](const format::BlockEntry& block) {
        if (block.reference.offset >= third)
            border = std::min(border, block.reference.offset);
        return true;
    });
    return border;
}

class CompleteSamples : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(sample))
            GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    }

    /// Everything of the sample must be in the new store, once, and nothing else.
    void ExpectAllFrom(CRepair& repair) const
    {
        repair.settings.complete = true;
        repair.settings.codePage = CodePageOf(sample);
        repair.Run();
        ASSERT_FALSE(repair.state.failed) << repair.frontEnd.Boxes();
        ASSERT_EQ(repair.frontEnd.completions, 1);
        ASSERT_TRUE(repair.HasResult());
        const auto result = platform::HostFileSystem().OpenSource(repair.state.outputPath);
        EXPECT_EQ(CheckedStore(*result).errors, "");
        EXPECT_EQ(Joined(Differences(ReadWholeStore(sample, CodePageOf(sample)),
                                     ReadWholeStore(repair.state.outputPath, CodePageOf(sample)))),
                  "");
    }

    /// What other readers open in the sample they must open in the new store, with no less in it.
    void ExpectOutsideReadersToOpen(const std::filesystem::path& store) const
    {
        if (const auto mails = CountWithReadpst(sample)) {
            const auto copied = CountWithReadpst(store);
            ASSERT_TRUE(copied) << "readpst refuses the new store";
            EXPECT_GE(copied->messages, mails->messages);
        }
        const PffexportOptions options{.values = false, .codePage = CodePageOf(sample)};
        if (const auto items = ReadItemsWithPffexport(sample, options)) {
            const auto copied = ReadItemsWithPffexport(store, options);
            ASSERT_TRUE(copied) << "pffexport refuses the new store";
            EXPECT_GE(copied->size(), items->size());
        }
    }

    CBuiltStore Copy() const { return SampleCopy(GetParam()).value(); }

    const std::filesystem::path sample = SampleFolder() / GetParam();
};

TEST_P(CompleteSamples, ComeBackWhole)
{
    CRepair repair(sample);
    ExpectAllFrom(repair);
    if (repair.HasResult())
        ExpectOutsideReadersToOpen(repair.state.outputPath);
}

/// Everything behind the border has moved against the places that the file records for it.
TEST_P(CompleteSamples, ComeBackWholeFromAroundAnInsertedSector)
{
    CBuiltStore damaged = Copy();
    damaged.Damage().Insert(BlockBorder(sample), kSector);
    CRepair repair(damaged.Content(), GetParam());
    ExpectAllFrom(repair);
}

TEST_P(CompleteSamples, ComeBackWholeWithoutAHeader)
{
    CBuiltStore damaged = Copy();
    damaged.Damage().ZeroHeader();
    CRepair repair(damaged.Content(), GetParam());
    repair.settings.kind = KindOf(sample);
    ExpectAllFrom(repair);
}

TEST_P(CompleteSamples, ComeBackWholeWithoutTheClientMagic)
{
    CBuiltStore damaged = Copy();
    damaged.Damage().SetClientMagic(0);
    CRepair repair(damaged.Content(), GetParam());
    repair.settings.kind = KindOf(sample);
    ExpectAllFrom(repair);
}

INSTANTIATE_TEST_SUITE_P(Files, CompleteSamples,
                         testing::Values("contacts-ansi.pst", "dist-list.pst", "empty.pst", "mailbox-4k.ost",
                                         "mailbox.ost", "outlook-cyclic.pst", "outlook.pst", "sample1.pst",
                                         "sample2.pst", "submessage.pst", "support.pst", "test_ansi.pst",
                                         "test_unicode.pst"),
                         [](const auto& tested) {
                             std::string name = tested.param;
                             std::erase_if(name, [](unsigned char byte) { return std::isalnum(byte) == 0; });
                             return name;
                         });

}  // namespace
}  // namespace pastille::tests
