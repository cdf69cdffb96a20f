#include <gtest/gtest.h>

#include <map>

#include "component/pst/ndb/AllocationPlan.h"
#include "component/pst/ndb/MapPages.h"
#include "component/pst/ndb/SortedList.h"
#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using component::pst::CAllocationPlan;
using component::pst::MapPagePlace;
using format::PageType;

constexpr std::uint64_t kSection = 253952;

std::vector<PageType> TypesOf(std::uint64_t section)
{
    std::vector<PageType> types;
    std::uint64_t expected = CAllocationPlan::SectionStart(section);
    for (const MapPagePlace& place : CAllocationPlan::MapPagesOf(section)) {
        EXPECT_EQ(place.offset, expected);
        expected += 512;
        types.push_back(place.type);
    }
    return types;
}

TEST(NdbAllocation, MapPagesStandAtTheirIntervals)
{
    using enum PageType;
    const std::map<std::uint64_t, std::vector<PageType>> expected = {
        {0, {AllocationMap, PageMap}},
        {1, {AllocationMap}},
        {7, {AllocationMap}},
        {8, {AllocationMap, PageMap}},
        {120, {AllocationMap, PageMap}},
        {128, {AllocationMap, PageMap, FreeMap}},
        {624, {AllocationMap, PageMap, FreeMap}},
        {8191, {AllocationMap}},
        {8192, {AllocationMap, PageMap, FreePageMap}},
        {39936, {AllocationMap, PageMap, FreePageMap}}};
    for (const auto& [section, types] : expected)
        EXPECT_EQ(TypesOf(section), types) << section;
    EXPECT_EQ(CAllocationPlan::MapPagesOf(128)[2].offset, 0x1F04800u);
    EXPECT_EQ(CAllocationPlan::MapPagesOf(8192)[2].offset, 0x7C004800u);
}

TEST(NdbAllocation, SkipsMapPagesAndNeverCrossesASection)
{
    CAllocationPlan plan;
    EXPECT_EQ(plan.FileSize(), 0x42400u) << "the smallest store";
    EXPECT_EQ(plan.TakeBlock(64), 0x4800u) << "behind the first AMap and PMap";
    EXPECT_EQ(plan.TakePage(), 0x4A00u) << "pages at multiples of 512";
    EXPECT_EQ(plan.TakeBlock(8192), 0x4C00u);

    const std::uint64_t second = 0x4400 + kSection;
    plan.SkipTo(second - 64);
    EXPECT_EQ(plan.TakeBlock(64), second - 64) << "exactly up to the border";
    EXPECT_EQ(plan.SectionCount(), 1u) << "a full section does not begin the next";
    EXPECT_EQ(plan.TakeBlock(64), second + 512) << "one map page only";
    plan.SkipTo(second + kSection - 8128);
    EXPECT_EQ(plan.TakeBlock(8192), second + kSection + 512) << "too long for the rest of the section";
    EXPECT_EQ(plan.SectionCount(), 3u);
    EXPECT_EQ(plan.FileSize(), 0x4400 + 3 * kSection);
    EXPECT_EQ(plan.LastAMapOffset(), 0x4400 + 2 * kSection);

    for (const std::uint64_t section : {128u, 8192u}) {
        const std::uint64_t start = CAllocationPlan::SectionStart(section);
        CAllocationPlan far;
        far.SkipTo(start - 128);
        EXPECT_EQ(far.TakePage(), start + 3 * 512) << section;
    }
}

TEST(NdbAllocation, PagesGivenBackAreTakenFirst)
{
    CAllocationPlan plan;
    const std::uint64_t page = plan.TakePage();
    const std::uint64_t block = plan.TakeBlock(64);
    plan.ReusePage(page);
    EXPECT_EQ(plan.TakeBlock(64), block + 64) << "blocks never go back";
    EXPECT_EQ(plan.TakePage(), page);
    EXPECT_GT(plan.TakePage(), block);
}

}  // namespace
}  // namespace pastille::tests
