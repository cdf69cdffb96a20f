#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/FileSystem.h"
#include "store/BlockReader.h"

namespace pastille::platform {
class CCodePage;
}

namespace pastille::store {

/// One entry of a node's subnode list. [MS-PST] 2.2.2.8.3.3.1
struct SubnodeEntry {
    std::uint32_t nid;
    std::uint32_t bidData;
    std::uint32_t bidSub;
};

/// The subnodes behind a bidSub, in file order; empty when the block is not there or is no subnode block.
/// An index block (SIBLOCK) is followed one level down. At most `most` entries are taken.
inline constexpr std::size_t kMostSubnodes = 700'000;
std::vector<SubnodeEntry> LoadSubnodes(CBlockReader& reader, std::uint32_t bidSub,
                                       std::size_t most = kMostSubnodes);

/// The BIDs of a node's data blocks behind `bidData`, in order: the block itself when it is no tree. Both
/// tree levels are followed; BIDs of 0 are left out. Behind a subnode block the data of its first entry
/// stands for the whole. At most 1,100,000 BIDs are taken.
std::vector<std::uint32_t> LoadDataTree(CBlockReader& reader, std::uint32_t bidData);

/// The block that a heap behind `bidData` begins with; nothing when it is not there. Of a heap of several
/// blocks only this one is read.
std::optional<BlockRecord> FirstDataBlock(CBlockReader& reader, std::uint32_t bidData);

/// Goes through data blocks in order, those that are there. Tree blocks are no data. A tree may list a block
/// any number of times: the blocks end when their places add up to the size of the whole file, when their
/// contents add up to the 2^31 - 1 bytes that a value may have, or to more than packed blocks honestly hold.
class CDataBlocks {
public:
    /// The reader must outlive this object.
    CDataBlocks(CBlockReader& reader, std::vector<std::uint32_t> bids);

    /// What of the blocks is there.
    struct Found {
        std::size_t blocks = 0;
        std::uint64_t bytes = 0;  ///< as stored
    };
    Found LookUp() const;

    /// Reads the next block. False when there is none.
    bool Next() { return Next(&CBlockReader::ReadContents); }
    /// The same for the blocks of a file's bytes.
    bool NextOfFile() { return Next(&CBlockReader::ReadFilePiece); }
    /// Of the block read last.
    std::span<const std::byte> Contents() const { return m_contents; }

private:
    bool Next(bool (CBlockReader::*read)(const BlockRecord&, CBlockReader::Buffer&));
    std::optional<BlockRecord> Find(std::uint32_t bid) const;

    CBlockReader& m_reader;
    std::vector<std::uint32_t> m_bids;
    std::size_t m_next = 0;
    std::uint64_t m_placesLeft;
    std::uint64_t m_bytesLeft;
    CBlockReader::Buffer m_contents;
};

/// The bytes of a file that data blocks hold.
class CDataStream final : public platform::IByteStream {
public:
    explicit CDataStream(CDataBlocks blocks) : m_blocks(std::move(blocks)) {}
    std::size_t Read(std::span<std::byte> into) override;

private:
    CDataBlocks m_blocks;
    std::span<const std::byte> m_left;
};

/// Hands each data block's contents behind `bidData` on, in order; blocks that are not found are skipped.
/// Stops early when `take` returns false.
void ReadDataTree(CBlockReader& reader, std::uint32_t bidData,
                  const std::function<bool(std::span<const std::byte>)>& take);

/// The value kept in the subnode `nid` as text: UTF-16 for PtypString (0x001F), the code page for PtypString8
/// (0x001E), "" for other types and when the subnode is not found. At most `maximumBytes` are read.
std::u16string ReadSubnodeText(CBlockReader& reader, const std::vector<SubnodeEntry>& subnodes,
                               std::uint32_t nid, std::uint16_t type, const platform::CCodePage& codePage,
                               std::size_t maximumBytes = std::size_t{64} << 20);

}  // namespace pastille::store
