#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "format/Heap.h"
#include "fuzz/Input.h"
#include "store/BlockReader.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::fuzz {

/// A file of a few blocks, plain, and the reader that finds them by their BIDs: what every parser above
/// blocks reads from. As an input:
///
///   size   field
///      1   variant, modulo 3
///      1   number of blocks, at most kMostBlocks
///      4   of each block: the low half of its BID, then its size
///          the blocks' contents, one behind the other
class CBlockFile {
public:
    static constexpr std::size_t kMostBlocks = 32;

    explicit CBlockFile(CInput input);

    store::CBlockReader& Reader() { return m_reader; }
    const format::VariantLayout& Layout() const { return m_reader.Layout(); }
    /// In the order of the input, repeats included.
    const std::vector<store::BlockRecord>& Blocks() const { return m_blocks; }
    /// BID of a block; 0 when there are fewer.
    std::uint32_t Bid(std::size_t index) const;
    /// The stored bytes of a block.
    format::CByteView Bytes(const store::BlockRecord& block) const;

private:
    std::vector<std::byte> m_content;
    std::vector<store::BlockRecord> m_blocks;
    tests::CMemoryFileSystem m_fileSystem;
    store::CSourceFile m_source;
    store::CBlockTable m_table;
    store::CBlockReader m_reader;
};

/// The same blocks as the strict parsers of heaps and tables see them.
class CBlockSequence final : public format::IBlockSequence {
public:
    /// The file must outlive this object.
    explicit CBlockSequence(const CBlockFile& file) : m_file(file) {}
    std::size_t BlockCount() override { return m_file.Blocks().size(); }
    format::SharedBytes BlockAt(std::size_t index) override;

private:
    const CBlockFile& m_file;
};

}  // namespace pastille::fuzz
