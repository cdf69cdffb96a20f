#include "component/pst/ndb/DataTree.h"

#include <algorithm>

#include "component/pst/ndb/FormatError.h"
#include "format/Block.h"

namespace pastille::component::pst {
namespace {

constexpr const char* kTree = "XBLOCK";

}  // namespace

CDataTreeReader::CDataTreeReader(INodeDatabase& database, format::Bid root) : m_database(database)
{
    m_fullBlock = database.Layout().largestBlock;
    if (root.value == 0)
        return;
    if (!root.IsInternal()) {
        m_blocks.push_back(root);
        m_size = database.ReadBlock(root)->size();
        return;
    }
    AddTree(root, 0);
    // A block has one place. One that had more would make a tree as large as one cares to count.
    auto sorted = m_blocks;
    std::ranges::sort(sorted, {}, &format::Bid::value);
    if (std::ranges::adjacent_find(sorted, {}, &format::Bid::Key) != sorted.end())
        throw CFormatError({kTree, "rgbid, twice in a tree", m_blocks.size(), root.value});
    // 4 KB files may keep smaller blocks in a tree, all of one size but the last.
    if (database.Layout().variant == format::Variant::Unicode4k && m_blocks.size() > 1)
        m_fullBlock = database.ReadBlock(m_blocks[0])->size();
    const std::uint64_t full = (m_blocks.size() - 1) * std::uint64_t{m_fullBlock};
    if (m_size <= full || m_size - full > m_fullBlock)
        throw CFormatError({kTree, "lcbTotal", m_size, root.value});
}

/// Adds the blocks below an XBLOCK or XXBLOCK; `level` is what it must have, 0 for any.
void CDataTreeReader::AddTree(format::Bid bid, unsigned level)
{
    const format::SharedBytes bytes = m_database.ReadBlock(bid);
    const auto tree = Require(format::CDataTreeBlock::Parse(m_database.Layout(), format::CByteView(*bytes)));
    if (level != 0 && tree.Level() != level)
        throw CFormatError({kTree, "cLevel", tree.Level(), bid.value});
    if (tree.Count() == 0)
        throw CFormatError({kTree, "cEnt", 0, bid.value});
    if (level == 0)
        m_size = tree.TotalSize();
    for (std::size_t i = 0; i < tree.Count(); ++i) {
        const format::Bid child{tree.ChildAt(i)};
        if (child.value == 0 || child.IsInternal() != (tree.Level() == 2))
            throw CFormatError({kTree, "rgbid", child.value, bid.value});
        if (tree.Level() == 2)
            AddTree(child, 1);
        else
            m_blocks.push_back(child);
        // Blocks of at least one byte each, so that the total bounds the list.
        if (m_blocks.size() > m_size)
            throw CFormatError({kTree, "lcbTotal", m_size, bid.value});
    }
}

format::SharedBytes CDataTreeReader::BlockAt(std::size_t index)
{
    format::SharedBytes bytes = m_database.ReadBlock(m_blocks.at(index));
    const bool isLast = index + 1 == m_blocks.size();
    const std::uint64_t expected = isLast ? m_size - index * std::uint64_t{m_fullBlock} : m_fullBlock;
    if (bytes->size() != expected)
        throw CFormatError({"BLOCK", "cb", bytes->size(), m_blocks[index].value});
    return bytes;
}

std::size_t CDataTreeReader::Read(std::uint64_t offset, std::span<std::byte> into)
{
    std::size_t done = 0;
    while (done < into.size() && offset + done < m_size) {
        const std::uint64_t place = offset + done;
        const format::SharedBytes bytes = BlockAt(static_cast<std::size_t>(place / m_fullBlock));
        const auto start = static_cast<std::size_t>(place % m_fullBlock);
        const std::size_t count = std::min(into.size() - done, bytes->size() - start);
        std::copy_n(bytes->begin() + static_cast<std::ptrdiff_t>(start), count,
                    into.begin() + static_cast<std::ptrdiff_t>(done));
        done += count;
    }
    return done;
}

std::vector<std::byte> CDataTreeReader::ReadAll()
{
    std::vector<std::byte> all;
    all.reserve(static_cast<std::size_t>(m_size));
    for (std::size_t i = 0; i < m_blocks.size(); ++i) {
        const format::SharedBytes bytes = BlockAt(i);
        all.insert(all.end(), bytes->begin(), bytes->end());
    }
    return all;
}

void CDataTreeReader::VisitBlocks(const std::function<bool(std::span<const std::byte>)>& visit)
{
    for (std::size_t i = 0; i < m_blocks.size(); ++i)
        if (!visit(*BlockAt(i)))
            return;
}

std::uint64_t DataTreeSize(INodeDatabase& database, format::Bid root)
{
    if (root.value == 0)
        return 0;
    const format::SharedBytes bytes = database.ReadBlock(root);
    if (!root.IsInternal())
        return bytes->size();
    return Require(format::CDataTreeBlock::Parse(database.Layout(), format::CByteView(*bytes))).TotalSize();
}

}  // namespace pastille::component::pst
