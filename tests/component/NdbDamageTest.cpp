#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using namespace component::pst;

/// A store whose trees have two levels.
Bytes WriteStore()
{
    CMemoryFile file;
    CNdbWriter writer(file);
    for (std::uint32_t i = 0; i < 60; ++i)
        writer.PutNode(MessageNid(i), writer.AddDataBlock(Pattern(100, i)), {}, {0x122});
    writer.Commit();
    return file.Content();
}

using PageChange = std::function<void(std::span<std::byte> page, std::uint64_t offset)>;

/// Rewrites the page at `offset` after a change of its bytes, with sound checksums.
void RewritePage(Bytes& store, std::uint64_t offset, const PageChange& change)
{
    const auto page = std::span(store).subspan(offset, 512);
    const auto trailer = format::ParsePageTrailer(format::kUnicodeLayout, format::CByteView(page), offset);
    change(page, offset);
    format::EncodePageTrailer(format::kUnicodeLayout, page, trailer->trailer.type, offset,
                              trailer->trailer.bid);
}

TEST(NdbDamage, TreesThatBreakTheirRulesAreRefused)
{
    const std::vector<std::pair<const char*, PageChange>> changes = {
        {"count over maximum", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 488, 21); }},
        {"entry size 0", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 490, 0); }},
        {"level of a leaf", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 491, 0); }},
        {"level too high", [](auto page, auto) { format::StoreLE<std::uint8_t>(page, 491, 200); }},
        {"keys unsorted",
         [](auto page, auto) { std::swap_ranges(page.begin(), page.begin() + 24, page.begin() + 24); }},
        {"parent key", [](auto page, auto) { format::StoreLE<std::uint32_t>(page, 0, 0x20); }},
        {"child is itself", [](auto page, auto offset) {
             const format::BlockReference self{format::LoadLE<std::uint64_t>(page, 504), offset};
             const auto firstKey = format::LoadLE<std::uint64_t>(page, 0);
             format::EncodeIndexEntry(format::kUnicodeLayout, {firstKey, self}, page);
         }}};
    for (const auto& [name, change] : changes) {
        Bytes store = WriteStore();
        CMemoryFile sound(store);
        RewritePage(store, CNdbReader(sound).Header().nodeTree.offset, change);
        CMemoryFile file(store);
        CNdbReader reader(file);
        EXPECT_THROW(reader.VisitNodes([](const NodeRecord&) { return true; }), CFormatError) << name;
    }
}

TEST(NdbDamage, FilesThatEndInTheHeaderAreRefused)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{563}}) {
        CMemoryFile file(WriteStore());
        file.SetSize(size);
        EXPECT_THROW(CNdbReader{file}, CFormatError) << size;
    }
}

}  // namespace
}  // namespace pastille::tests
