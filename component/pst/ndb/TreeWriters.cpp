#include <algorithm>
#include <limits>
#include <stdexcept>

#include "component/pst/ndb/NdbWriter.h"
#include "component/pst/ndb/NewStoreLayout.h"
#include "format/Block.h"

namespace pastille::component::pst {
CDataTreeWriter::CDataTreeWriter(CNdbWriter& writer, std::size_t childrenPerBlock)
    : m_writer(writer), m_childrenPerBlock(childrenPerBlock)
{
    if (childrenPerBlock < 2 || childrenPerBlock > format::DataTreeCapacity(kLayout))
        throw std::invalid_argument("children of an XBLOCK");
}

void CDataTreeWriter::Append(std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        if (m_pending.empty() && bytes.size() > kFullBlock) {
            AddLeaf(m_writer.AddDataBlock(bytes.first(kFullBlock)), kFullBlock);
            bytes = bytes.subspan(kFullBlock);
            continue;
        }
        // A full block waits until something follows it.
        if (m_pending.size() == kFullBlock) {
            AddLeaf(m_writer.AddDataBlock(m_pending), kFullBlock);
            m_pending.clear();
        }
        const std::size_t count = std::min(bytes.size(), kFullBlock - m_pending.size());
        m_pending.insert(m_pending.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        bytes = bytes.subspan(count);
    }
}

void CDataTreeWriter::AppendWholeBlock(std::span<const std::byte> bytes)
{
    AppendExistingBlock(m_writer.AddDataBlock(bytes), bytes.size());
}

void CDataTreeWriter::AppendExistingBlock(format::Bid bid, std::size_t size)
{
    if (!m_pending.empty())
        throw std::logic_error("whole blocks and single bytes do not mix");
    AddLeaf(bid, size);
}

void CDataTreeWriter::AddLeaf(format::Bid bid, std::size_t size)
{
    if (m_lastIsShort)
        throw std::logic_error("only the last block of a data tree may be short");
    if (m_size + size > std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("a data tree has less than 4 GiB");
    if (m_leaves.size() == m_childrenPerBlock)
        CloseIndexBlock();
    m_lastIsShort = size != kFullBlock;
    m_leaves.push_back(bid.value);
    m_leafBytes += size;
    m_size += size;
}

void CDataTreeWriter::CloseIndexBlock()
{
    if (m_indexes.size() == m_childrenPerBlock)
        throw std::length_error("a data tree has two levels of index blocks");
    const auto total = static_cast<std::uint32_t>(m_leafBytes);
    m_indexes.push_back(
        m_writer.AddInternalBlock(format::EncodeDataTreeBlock(kLayout, 1, total, m_leaves)).value);
    m_leaves.clear();
    m_leafBytes = 0;
}

format::Bid CDataTreeWriter::Finish()
{
    if (!m_pending.empty()) {
        const std::size_t size = m_pending.size();
        const format::Bid last = m_writer.AddDataBlock(m_pending);
        m_pending.clear();
        AddLeaf(last, size);
    }
    if (m_indexes.empty() && m_leaves.size() <= 1)
        return {m_leaves.empty() ? 0 : m_leaves.front()};
    CloseIndexBlock();
    if (m_indexes.size() == 1)
        return {m_indexes.front()};
    return m_writer.AddInternalBlock(
        format::EncodeDataTreeBlock(kLayout, 2, static_cast<std::uint32_t>(m_size), m_indexes));
}

void CSubnodeTreeWriter::Add(format::Nid nid, format::Bid data, format::Bid sub)
{
    m_entries.push_back({nid, data, sub, {}});
}

format::Bid CSubnodeTreeWriter::Finish(CNdbWriter& writer)
{
    if (m_entries.empty())
        return {};
    std::ranges::sort(m_entries, {}, &NodeRecord::nid);
    if (std::ranges::adjacent_find(m_entries, {}, &NodeRecord::nid) != m_entries.end())
        throw std::invalid_argument("a subnode id is given twice");
    std::vector<format::SubnodeIndexEntry> index;
    std::vector<format::SubnodeLeafEntry> leaf;
    const auto closeLeaf = [&] {
        index.push_back(
            {leaf.front().nid, writer.AddInternalBlock(format::EncodeSubnodeLeaf(kLayout, leaf)).value});
        leaf.clear();
    };
    if (m_entries.size() > m_limits.leafEntries * m_limits.indexEntries)
        throw std::length_error("too many subnodes");
    for (const NodeRecord& entry : m_entries) {
        if (leaf.size() == m_limits.leafEntries)
            closeLeaf();
        leaf.push_back({entry.nid.value, entry.data.value, entry.sub.value});
    }
    closeLeaf();
    if (index.size() == 1)
        return {index.front().bid};
    return writer.AddInternalBlock(format::EncodeSubnodeIndex(kLayout, index));
}

}  // namespace pastille::component::pst
