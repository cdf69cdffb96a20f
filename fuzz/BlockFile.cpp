#include "fuzz/BlockFile.h"

#include <algorithm>

namespace pastille::fuzz {

CBlockFile::CBlockFile(CInput input) : m_fileSystem({}), m_reader(m_source, m_table)
{
    const format::VariantLayout& layout = input.TakeLayout();
    const std::size_t count = std::min<std::size_t>(input.Take<std::uint8_t>(), kMostBlocks);
    for (std::size_t i = 0; i < count; ++i) {
        const auto bid = input.Take<std::uint16_t>();
        m_blocks.push_back({bid, input.Take<std::uint16_t>(), 0});
    }
    for (store::BlockRecord& block : m_blocks) {
        const auto bytes = input.TakeBytes(block.cb);
        block.cb = static_cast<std::uint32_t>(bytes.size());
        block.ib = m_content.size();
        m_content.insert(m_content.end(), bytes.begin(), bytes.end());
    }
    m_table.CreateInMemory();
    for (const store::BlockRecord& block : m_blocks)
        m_table.Append(block);
    m_table.Finish();
    m_fileSystem = tests::CMemoryFileSystem(m_content);
    m_source.Open(m_fileSystem, "blocks");
    m_reader.Reset(layout, store::FileKind::Pst);
}

std::uint32_t CBlockFile::Bid(std::size_t index) const
{
    return index < m_blocks.size() ? m_blocks[index].bid : 0;
}

format::CByteView CBlockFile::Bytes(const store::BlockRecord& block) const
{
    return format::CByteView(m_content).Sub(block.ib, block.cb).value_or(format::CByteView());
}

format::SharedBytes CBlockSequence::BlockAt(std::size_t index)
{
    if (index >= m_file.Blocks().size())
        return nullptr;
    const auto bytes = m_file.Bytes(m_file.Blocks()[index]).Bytes();
    return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

}  // namespace pastille::fuzz
