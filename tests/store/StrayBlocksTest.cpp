#include "store/StrayBlocks.h"

#include <gtest/gtest.h>

#include "format/Checksum.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

using store::BlockRecord;

/// A source of patterned bytes in which blocks can be claimed to lie anywhere.
class StrayBlocks : public testing::Test {
protected:
    StrayBlocks()
    {
        for (std::size_t i = 0; i < m_bytes.size(); ++i)
            m_bytes[i] = static_cast<std::byte>(i * 7 + i / 256);
        m_files.emplace(m_bytes);
        m_source.Open(*m_files, "source.pst");
        m_blocks.Create(*m_files, "index");
    }

    std::uint32_t CrcOf(const BlockRecord& record) const
    {
        return format::ComputeCrc(std::span(m_bytes).subspan(record.ib, record.cb));
    }
    void AddSound(const BlockRecord& record) { m_strays.Add(record, CrcOf(record)); }
    void AddDamaged(const BlockRecord& record) { m_strays.Add(record, CrcOf(record) + 1); }
    void Settle()
    {
        m_strays.Settle(m_source, m_blocks, [] { return true; });
        m_blocks.Finish();
    }
    std::uint64_t PlaceOf(std::uint32_t bid) const
    {
        const auto found = m_blocks.Find(bid);
        return found ? found->ib : 0;
    }

    Bytes m_bytes = Bytes(65536);
    std::optional<CMemoryFileSystem> m_files;
    store::CSourceFile m_source;
    store::CBlockTable m_blocks;
    store::CStrayBlocks m_strays;
};

TEST_F(StrayBlocks, AnOldTrailerBehindReusedSpaceIsNoBlock)
{
    m_blocks.Append({4, 100, 0x5000});
    AddSound({8, 100, 0x6000});
    AddDamaged({12, 600, 0x5000});  // its beginning is block 4 now
    AddDamaged({16, 600, 0x5F00});  // block 8 lies in it
    AddDamaged({20, 600, 0x4E00});  // its end is block 4 now
    AddDamaged({24, 0x200, 0x4C00});
    Settle();
    EXPECT_EQ(PlaceOf(12), 0u);
    EXPECT_EQ(PlaceOf(16), 0u);
    EXPECT_EQ(PlaceOf(20), 0u);
    EXPECT_EQ(PlaceOf(24), 0x4C00u) << "damaged, but nobody else's";
    EXPECT_EQ(PlaceOf(4), 0x5000u);
    EXPECT_EQ(PlaceOf(8), 0x6000u);
}

TEST_F(StrayBlocks, ASoundBlockCorrectsATableAndADamagedOneDoesNot)
{
    m_blocks.Append({4, 100, 0x5000});
    m_blocks.Append({8, 100, 0x6000});
    AddSound({4, 80, 0x9000});
    AddDamaged({8, 80, 0xA000});
    Settle();
    EXPECT_EQ(PlaceOf(4), 0x9000u);
    EXPECT_EQ(PlaceOf(8), 0x6000u);
}

TEST_F(StrayBlocks, OfSeveralPlacesInTheTablesTheTrailerTellsTheTrueOne)
{
    for (const std::uint64_t place : {0x5000u, 0x6000u, 0x7000u}) {
        m_blocks.Append({4, 100, place});
        m_blocks.Append({8, 100, place + 0x400});
    }
    AddSound({4, 100, 0x5000});
    AddSound({8, 100, 0x7400});
    AddDamaged({8, 100, 0x5400});
    Settle();
    EXPECT_EQ(PlaceOf(4), 0x5000u);
    EXPECT_EQ(PlaceOf(8), 0x7400u);
}

TEST_F(StrayBlocks, BlocksThatTouchDoNotOverlap)
{
    AddSound({4, 0x100, 0x5000});
    AddDamaged({8, 0x100, 0x5100});
    AddDamaged({12, 0x100, 0x4F00});
    AddDamaged({16, 1, 0x50FF});
    m_strays.Add({20, 0x1000, 0xF800}, 0);  // half of it lies beyond the end of the file
    Settle();
    EXPECT_EQ(PlaceOf(20), 0xF800u);
    EXPECT_EQ(PlaceOf(8), 0x5100u);
    EXPECT_EQ(PlaceOf(12), 0x4F00u);
    EXPECT_EQ(PlaceOf(16), 0u);
    EXPECT_EQ(m_blocks.Find(4)->cb, 0x100u);
}

}  // namespace
}  // namespace pastille::tests
