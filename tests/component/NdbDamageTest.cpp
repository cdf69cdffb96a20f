#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <utility>

#include "component/pst/ndb/DataTree.h"
#include "format/Block.h"
#include "format/Checksum.h"
#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::Bid;
using format::NidType;

/// A store of a few hundred nodes with data trees and subnodes, put in the given number of commits.
void PutRound(CNdbWriter& writer, std::uint32_t round)
{
    for (std::uint32_t i = 0; i < 30; ++i) {
        const std::uint32_t number = round * 30 + i;
        CDataTreeWriter tree(writer);
        tree.Append(Pattern(100 + number % 7 * 5000, number));
        CSubnodeTreeWriter subnodes;
        subnodes.Add({0x692}, writer.AddDataBlock(Pattern(60, number)));
        writer.PutNode(MessageNid(number), tree.Finish(), subnodes.Finish(writer), {0x122});
    }
    writer.PutNode({0x21}, writer.AddDataBlock(Pattern(50, 1000 + round)), {});
}

void WriteStore(CNdbWriter& writer, std::uint32_t commits)
{
    for (std::uint32_t round = 0; round < commits; ++round) {
        PutRound(writer, round);
        writer.Commit();
    }
}

/// True when the store holds just what WriteStore has put by the end of `commits`.
bool HoldsStore(platform::IByteSource& file, std::uint32_t commits)
{
    CNdbReader reader(file);
    if (*reader.ReadBlock(reader.FindNode({0x21})->data) != Pattern(50, 1000 + commits - 1))
        return false;
    std::uint32_t nodes = 0;
    reader.VisitNodes([&nodes](const NodeRecord&) { return ++nodes != 0; });
    if (nodes != commits * 30 + 1)
        return false;
    for (std::uint32_t number = 0; number < commits * 30; ++number) {
        const auto node = reader.FindNode(MessageNid(number));
        if (!node ||
            CDataTreeReader(reader, node->data).ReadAll() != Pattern(100 + number % 7 * 5000, number))
            return false;
    }
    return true;
}

// Every operation on the file fails once, in turn. What stands there afterwards is the last store that was
// brought to the disk, complete again, or none at all; and the writer takes no more work.
TEST(NdbFailure, NoFailingOperationCostsAnEarlierCheckpoint)
{
    std::uint64_t stores = 0;
    std::uint64_t none = 0;
    for (std::uint64_t failing = 1;; ++failing) {
        CTestFile file;
        file.failingOperation = failing;
        CNdbWriter writer(file);
        std::uint32_t rounds = 0;
        bool hasFailed = false;
        try {
            for (rounds = 0; rounds < 4; ++rounds) {
                PutRound(writer, rounds);
                rounds == 1 ? writer.Commit() : writer.Checkpoint();
            }
        } catch (const std::system_error&) {
            hasFailed = true;
        }
        if (!hasFailed)
            break;
        const std::uint64_t before = file.operations;
        EXPECT_THROW(writer.AddDataBlock(Pattern(10)), std::system_error);
        EXPECT_THROW(writer.Checkpoint(), std::system_error);
        EXPECT_EQ(file.operations, before) << "nothing is written after a failure";
        if (!writer.CompleteAfterFailure()) {
            EXPECT_EQ(rounds, 0u) << failing;
            ++none;
            continue;
        }
        EXPECT_EQ(DatabaseErrors(file), "") << failing;
        // After the header of a commit nothing fails that counts.
        EXPECT_TRUE(HoldsStore(file, rounds) || (rounds == 1 && HoldsStore(file, 2))) << failing;
        ++stores;
    }
    EXPECT_GT(stores, 9u);
    EXPECT_GT(none, 3u);
}

using PageChange = std::function<void(std::span<std::byte> page, std::uint64_t offset)>;

/// Rewrites the page at `offset` after a change of its bytes, with sound checksums.
void RewritePage(CTestFile& file, std::uint64_t offset, const PageChange& change)
{
    const auto page = std::span(file.bytes).subspan(offset, 512);
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
        CTestFile file;
        CNdbWriter writer(file);
        WriteStore(writer, 2);
        const format::BlockReference root = CNdbReader(file).Header().nodeTree;
        RewritePage(file, root.offset, change);
        CNdbReader reader(file);
        EXPECT_THROW(reader.VisitNodes([](const NodeRecord&) { return true; }), CFormatError) << name;
    }
}

TEST(NdbDamage, FilesThatEndInTheHeaderAreRefused)
{
    CTestFile file;
    CNdbWriter writer(file);
    WriteStore(writer, 1);
    const std::vector<std::byte> whole = file.bytes;
    for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{563}}) {
        file.bytes.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_THROW(CNdbReader{file}, CFormatError) << size;
    }
}

}  // namespace
}  // namespace pastille::tests
