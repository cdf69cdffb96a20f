#include "component/pst/ltp/GrowingTree.h"

#include <algorithm>
#include <span>
#include <stdexcept>

#include "component/pst/ndb/NewStoreLayout.h"
#include "format/Block.h"

namespace pastille::component::pst {
namespace {

static_assert(CGrowingTree::kGroup == format::DataTreeCapacity(format::kUnicodeLayout));

format::Bid WriteIndex(CNdbWriter& writer, unsigned level, std::uint64_t size,
                       std::span<const std::uint64_t> children)
{
    return writer.AddInternalBlock(
        format::EncodeDataTreeBlock(kLayout, level, static_cast<std::uint32_t>(size), children));
}

}  // namespace

void CGrowingTree::Set(std::size_t index, format::Bid bid)
{
    m_blocks[index] = bid.value;
    if (index / kGroup < m_indexes.size())
        m_indexes[index / kGroup] = 0;
}

format::Bid CGrowingTree::Finish(CNdbWriter& writer, format::Bid last, std::size_t lastSize)
{
    if (m_blocks.empty())
        return last;
    if (m_blocks.size() > kMostFullBlocks)
        throw std::length_error("a data tree has less than 4 GiB");
    const std::size_t fullGroups = m_blocks.size() / kGroup;
    m_indexes.resize(fullGroups);
    for (std::size_t group = 0; group < fullGroups; ++group)
        if (m_indexes[group] == 0)
            m_indexes[group] = WriteIndex(writer, 1, kGroup * kFullBlock,
                                          std::span(m_blocks).subspan(group * kGroup, kGroup))
                                   .value;
    const auto rest = std::span(m_blocks).subspan(fullGroups * kGroup);
    std::vector<std::uint64_t> open(rest.begin(), rest.end());
    open.push_back(last.value);
    const format::Bid openIndex = WriteIndex(writer, 1, rest.size() * kFullBlock + lastSize, open);
    if (fullGroups == 0)
        return openIndex;
    std::vector<std::uint64_t> indexes = m_indexes;
    indexes.push_back(openIndex.value);
    return WriteIndex(writer, 2, m_blocks.size() * kFullBlock + lastSize, indexes);
}

void CGrowingTree::TakeIndexes(const CGrowingTree& finished)
{
    const std::size_t groups = std::min(m_blocks.size() / kGroup, finished.m_indexes.size());
    m_indexes.resize(std::max(m_indexes.size(), groups));
    for (std::size_t group = 0; group < groups; ++group) {
        const auto begin = static_cast<std::ptrdiff_t>(group * kGroup);
        const auto end = begin + static_cast<std::ptrdiff_t>(kGroup);
        if (std::equal(m_blocks.begin() + begin, m_blocks.begin() + end, finished.m_blocks.begin() + begin))
            m_indexes[group] = finished.m_indexes[group];
    }
}

}  // namespace pastille::component::pst
