#include <gtest/gtest.h>

#include <functional>

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
        whole = ReadWholeStore(sample, CodePageOf(sample));
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
        EXPECT_EQ(Joined(Differences(whole, ReadWholeStore(repair.state.outputPath, CodePageOf(sample)))),
                  "");
    }

    /// What other readers open in the sample they must open in the new store, with no less in it.
    void ExpectOutsideReadersToOpen(const std::filesystem::path& store) const
    {
        if (const auto mails = CountWithReadpst(sample, OfStore::MayBeDamaged)) {
            const auto copied = CountWithReadpst(store);
            ASSERT_TRUE(copied);
            EXPECT_GE(copied->messages, mails->messages);
        }
        PffexportOptions options{
            .values = false, .codePage = CodePageOf(sample), .store = OfStore::MayBeDamaged};
        if (const auto items = ReadItemsWithPffexport(sample, options)) {
            options.store = OfStore::Sound;
            const auto copied = ReadItemsWithPffexport(store, options);
            ASSERT_TRUE(copied);
            EXPECT_GE(copied->size(), items->size());
        }
    }

    const std::filesystem::path sample = SampleFolder() / GetParam();
    WholeStore whole;  ///< what the sample holds
};

TEST_P(CompleteSamples, ComeBackWholeWhateverTheFileLost)
{
    struct Loss {
        const char* name;
        std::function<void(CStoreDamage)> make;
        bool isKindLost = false;
    };
    const Loss losses[] = {
        {"nothing", [](CStoreDamage) {}},
        // Everything behind the border has moved against the places that the file records for it.
        {"a sector inserted", [this](CStoreDamage damage) { damage.Insert(BlockBorder(sample), kSector); }},
        {"the header", [](CStoreDamage damage) { damage.ZeroHeader(); }, true},
        {"the client magic", [](CStoreDamage damage) { damage.SetClientMagic(0); }, true},
    };
    for (const Loss& loss : losses) {
        SCOPED_TRACE(loss.name);
        CBuiltStore damaged = SampleCopy(GetParam()).value();
        loss.make(damaged.Damage());
        CRepair repair(damaged.Content(), GetParam());
        if (loss.isKindLost)
            repair.settings.kind = KindOf(sample);
        ExpectAllFrom(repair);
        if (&loss == std::begin(losses) && repair.HasResult())
            ExpectOutsideReadersToOpen(repair.state.outputPath);
    }
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
