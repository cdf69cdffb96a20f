#include <gtest/gtest.h>
#include <zlib.h>

#include "format/Bytes.h"
#include "tests/store/LoadedStore.h"

namespace pastille::tests {
namespace {

using format::CryptMethod;
using format::Variant;

constexpr std::uint32_t kTopFolder = 0x8022;
constexpr std::uint32_t kTopHierarchy = 0x802D;

CBuiltStore EmptyStore(Variant variant, CryptMethod method, bool ost = false)
{
    StoreDescription store;
    store.format.variant = variant;
    store.format.crypt = method;
    store.format.ost = ost;
    return CBuiltStore(store);
}

TEST(CryptDetection, TableBlocksCountInOstFilesOnly)
{
    for (const CryptMethod method : {CryptMethod::None, CryptMethod::Permute, CryptMethod::Cyclic}) {
        CLoadedStore ost(EmptyStore(Variant::Unicode, method, true));
        EXPECT_TRUE(ost.Detect(kTopHierarchy));
        EXPECT_EQ(ost.source.reader.Method(), method);
        CLoadedStore pst(EmptyStore(Variant::Unicode, method, false));
        EXPECT_FALSE(pst.Detect(kTopHierarchy));
        EXPECT_TRUE(pst.source.reader.IsMethodPending());
    }
}

TEST(CryptDetection, FailsOnOtherBlocksAndChangesNothing)
{
    CLoadedStore loaded(EmptyStore(Variant::Unicode, CryptMethod::Cyclic));
    ASSERT_TRUE(loaded.Detect(kTopFolder));
    EXPECT_FALSE(loaded.Detect(0x201)) << "a list of four bytes is no heap";
    EXPECT_FALSE(loaded.source.reader.DetectCryptMethod({8, 100, loaded.source.file.Size() + 4096}));
    EXPECT_FALSE(loaded.source.reader.DetectCryptMethod({8, 0, 18432}));
    EXPECT_FALSE(loaded.source.reader.DetectCryptMethod({8, 3, loaded.source.file.Size() - 3}));
    EXPECT_EQ(loaded.source.reader.Method(), CryptMethod::Cyclic);
    EXPECT_FALSE(loaded.source.reader.IsMethodPending());
}

TEST(CryptDetection, ASmartScanTakesTheMethodOfMostBlocks)
{
    StoreDescription description;
    description.format.crypt = CryptMethod::Cyclic;
    description.atStart = [](CStoreFile& file) {
        // As it is stored this block looks like a property context; it is the first one of the file.
        constexpr std::uint64_t kBid = 0x70004;
        Bytes decoy(200, std::byte{7});
        format::StoreLE(std::span(decoy), 2, std::uint16_t{0xBCEC});
        format::DecodeBlock(CryptMethod::Cyclic, kBid, decoy);
        file.WriteBlock(decoy, {.bid = kBid});
    };
    const CLoadedStore loaded(CBuiltStore(description), true);
    EXPECT_EQ(loaded.source.reader.Method(), CryptMethod::Cyclic);
}

TEST(CryptDetection, APackedBlockTellsOnlyWhenThereIsAStream)
{
    // Four zeros decode to the signature of a heap under this BID.
    constexpr std::uint32_t kBid = 0xA710;
    std::array<std::byte, 4> zeros{};
    format::DecodeBlock(CryptMethod::Cyclic, kBid, zeros);
    ASSERT_EQ(format::LoadLE<std::uint16_t>(zeros, 2), 0xBCEC);
    const Bytes text(100, std::byte{'x'});
    EXPECT_EQ(store::HeapMethods(store::FileKind::Ost, format::kUnicode4kLayout, kBid, text), 0);
}

TEST(BlockContents, InflationIsBoundedAndKeepsWhatCameBeforeTheDamage)
{
    StoreFormat format;
    format.variant = Variant::Unicode4k;
    format.crypt = CryptMethod::None;
    std::uint64_t bid = 0;
    Bytes text;
    for (int i = 0; i < 20000; ++i)
        text.push_back(static_cast<std::byte>('a' + i * i % 23));
    Bytes bytes = RawStore(format, [&](CStoreFile& store) {
        bid = store.WriteBlock(text, {.name = "text"});
        store.WriteBlock(Bytes(100, std::byte{1}));
        store.AddNode({0x8022, bid, 0, 0x122});
    });
    CLoadedStore whole(bytes);
    const auto record = whole.source.blocks.Find(static_cast<std::uint32_t>(bid));
    ASSERT_TRUE(record);
    ASSERT_LT(record->cb, text.size());
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(record->ib + record->cb / 2), 64,
                std::byte{0xFF});
    CLoadedStore damaged(bytes);
    store::CBlockReader::Buffer contents;
    damaged.source.reader.ReadContents(*record, contents);
    ASSERT_LT(contents.size(), 200'001u);
    ASSERT_GT(contents.size(), 100u) << "the sound half of the stream is lost";
    EXPECT_TRUE(std::equal(contents.begin(), contents.begin() + 100, text.begin()));

    const Bytes zeros(1'000'000);
    uLongf packed = compressBound(zeros.size());
    store::CBlockReader::Buffer bomb(packed);
    ::compress(reinterpret_cast<Bytef*>(bomb.data()), &packed, reinterpret_cast<const Bytef*>(zeros.data()),
               zeros.size());
    bomb.resize(packed);
    ASSERT_LT(bomb.size(), 2000u);
    damaged.source.reader.Inflate(bomb);
    EXPECT_EQ(bomb.size(), 200'000u);
    store::CBlockReader::Buffer noStream(1000, std::byte{0});
    damaged.source.reader.Inflate(noStream);
    EXPECT_EQ(noStream, Bytes(1000)) << "what was never packed is its own contents";
}

}  // namespace
}  // namespace pastille::tests
