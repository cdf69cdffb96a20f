#include "store/Validation.h"

#include <gtest/gtest.h>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::Variant;
using store::FileKind;

constexpr std::uint64_t kProbeStart = 18432;

StoreDescription SmallStore(Variant variant, bool ost = false)
{
    StoreDescription store;
    store.format.variant = variant;
    store.format.ost = ost;
    store.folders = {
        {.name = u"Inbox", .messages = {Mail(u"One", u"Ada Brook", u"Text", FileTime(2020, 1, 1))}}};
    return store;
}

struct Probed {
    FileKind kind;
    std::optional<Variant> variant;
};

Probed Probe(const Bytes& bytes)
{
    CMemoryFileSystem files(bytes);
    store::CSourceFile source;
    source.Open(files, "source.pst");
    return {store::ReadFileKind(source), store::ProbeVariant(source, [](std::uint64_t) { return true; })};
}

/// A file with the PST magic, zero but for one page at the place where probing starts.
struct LonePage {
    Bytes bytes = Bytes(kProbeStart + 65536);
    std::span<std::byte> page = std::span(bytes).subspan(kProbeStart);

    LonePage() { format::StoreLE(std::span(bytes), 8, std::uint16_t{0x4D53}); }
    void Trailer(std::size_t type, std::size_t signature, std::size_t bid, std::uint32_t ownBid)
    {
        format::StoreLE(page, type, std::uint16_t{0x8181});
        format::StoreLE(page, signature, format::ComputeSignature(kProbeStart, ownBid));
        format::StoreLE(page, bid, ownBid);
    }
};

TEST(Validation, RefusesAddressBooksAndUnknownMagics)
{
    CBuiltStore store(SmallStore(Variant::Unicode));
    for (const int magic : {0x4241, 0x0000, 0x534D, 0xFFFF}) {
        store.Damage().SetClientMagic(static_cast<std::uint16_t>(magic));
        EXPECT_EQ(Probe(store.Content()).kind, FileKind::Unknown) << magic;
    }
}

TEST(Validation, OneFittingPageAnywhereIsEnough)
{
    for (const Variant variant : {Variant::Ansi, Variant::Unicode}) {
        CBuiltStore store(SmallStore(variant));
        const std::vector<StorePlace> leaves = store.Directory().All(PlaceKind::NbtLeaf);
        ASSERT_GT(leaves.size(), 1u);
        store.Damage()
            .ZeroHeaderButMagic()
            .Drop(PlaceKind::BbtLeaf)
            .Drop(PlaceKind::BbtIndex)
            .Drop(PlaceKind::NbtIndex);
        for (std::size_t i = 0; i + 1 < leaves.size(); ++i)
            store.Damage().Drop(PlaceKind::NbtLeaf, i);
        EXPECT_EQ(Probe(store.Content()).variant, variant);
        store.Damage().BreakSignatures(PlaceKind::NbtLeaf);
        EXPECT_EQ(Probe(store.Content()).variant, std::nullopt) << "a wrong signature must not count";
    }
}

TEST(Validation, AnsiWinsWhereBothTrailersStand)
{
    LonePage file;
    file.Trailer(496, 498, 504, 0x3D);
    ASSERT_EQ(Probe(file.bytes).variant, Variant::Unicode);
    format::StoreLE(file.page, 500, std::uint16_t{0x8080});
    EXPECT_EQ(Probe(file.bytes).variant, Variant::Ansi);
}

TEST(Validation, SignatureZeroIsNoSignature)
{
    LonePage file;
    file.Trailer(496, 498, 504, kProbeStart);
    ASSERT_EQ(format::ComputeSignature(kProbeStart, kProbeStart), 0);
    EXPECT_EQ(Probe(file.bytes).variant, std::nullopt);
}

TEST(Validation, LargePagesAreKnownWithoutSignatures)
{
    CBuiltStore store(SmallStore(Variant::Unicode4k));
    store.Damage()
        .ZeroHeaderButMagic()
        .BreakSignatures(PlaceKind::NbtLeaf)
        .BreakSignatures(PlaceKind::BbtLeaf);
    EXPECT_EQ(Probe(store.Content()).variant, Variant::Unicode4k);
}

TEST(Validation, HeaderDecidesWhenNoPageIsLeft)
{
    for (const Variant variant : kAllVariants) {
        SCOPED_TRACE(VariantName(variant));
        CBuiltStore store(SmallStore(variant));
        for (const PlaceKind kind :
             {PlaceKind::NbtLeaf, PlaceKind::NbtIndex, PlaceKind::BbtLeaf, PlaceKind::BbtIndex})
            store.Damage().Drop(kind);
        // The header cannot tell the two wide variants apart.
        const Variant expected = variant == Variant::Ansi ? Variant::Ansi : Variant::Unicode;
        EXPECT_EQ(Probe(store.Content()).variant, expected);
        store.Damage().ZeroRoot();
        EXPECT_EQ(Probe(store.Content()).variant, std::nullopt);
    }
}

TEST(Validation, RootOffsetsMustEndInAZeroByte)
{
    for (const std::size_t at : {224u, 240u}) {
        CBuiltStore store(SmallStore(Variant::Unicode));
        store.Damage().Truncate(4096);
        ASSERT_EQ(Probe(store.Content()).variant, Variant::Unicode);
        store.Damage().FlipBits(at, 0x10);
        EXPECT_EQ(Probe(store.Content()).variant, std::nullopt) << at;
    }
}

TEST(Validation, ShortFilesAreDecidedByTheHeader)
{
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{9}, std::uint64_t{100},
                                     std::uint64_t{564}, std::uint64_t{18431}, kProbeStart}) {
        CBuiltStore store(SmallStore(Variant::Unicode));
        store.Damage().Truncate(size);
        const auto expected = size >= 564 ? std::optional(Variant::Unicode) : std::nullopt;
        EXPECT_EQ(Probe(store.Content()).variant, expected) << size;
        EXPECT_EQ(Probe(store.Content()).kind, size >= 10 ? FileKind::Pst : FileKind::Unknown) << size;
    }
}

}  // namespace
}  // namespace pastille::tests
