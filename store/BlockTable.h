#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <tuple>
#include <vector>

#include "platform/FileSystem.h"

namespace pastille::store {

/// Where a block lies. 16 bytes, as the block-index file keeps it.
struct BlockRecord {
    std::uint32_t bid;  ///< low 32 bits
    std::uint32_t cb;   ///< bytes of data, at most 65512
    std::uint64_t ib;   ///< file offset
};
static_assert(sizeof(BlockRecord) == 16);

/// For ordering records by BID and place.
inline auto ByPlace(const BlockRecord& record)
{
    return std::tuple(record.bid, record.ib, record.cb);
}

/// The block table: every block that was found, by BID. Kept in the block-index file while the run lasts and
/// mapped for looking up.
class CBlockTable {
public:
    CBlockTable() = default;
    ~CBlockTable();
    CBlockTable(const CBlockTable&) = delete;
    CBlockTable& operator=(const CBlockTable&) = delete;

    /// Starts an empty table without a block-index file: all of it stays in memory.
    void CreateInMemory();
    /// Creates the block-index file. Raises std::system_error.
    void Create(platform::IFileSystem& fileSystem, const std::filesystem::path& path);
    /// Adds a record as found; repeats are wanted. Raises std::system_error when the index cannot grow.
    void Append(const BlockRecord& record);
    /// Adds a record that wins over every appended one with its BID.
    void Prefer(const BlockRecord& record);
    /// The records appended so far, in that order.
    std::vector<BlockRecord> Appended();
    std::vector<std::uint32_t> AppendedBids();
    /// Orders the index for looking up. Of the records with one BID the one wins that the chunked order of
    /// the index meets first: chunks of 4000 records in the order found, each sorted for itself.
    /// `proceed` is asked before each chunk; when it returns false the table stays empty.
    void Finish(const std::function<bool()>& proceed = [] { return true; });
    /// Closes and deletes the block-index file, trying twice unless it is gone already.
    void Remove();

    /// Records added, repeats included.
    std::uint64_t Count() const { return m_count + m_preferred.size(); }
    /// The records that lookups find, in order of their BIDs. REQUIRES: finished. Valid until Remove.
    std::span<const BlockRecord> Records() const;
    /// The record of a BID (low 32 bits); nothing for 0.
    std::optional<BlockRecord> Find(std::uint32_t bid) const;
    /// The same, and when that fails the record of `bid` - 1.
    std::optional<BlockRecord> FindWithRetry(std::uint32_t bid) const;

private:
    void Flush();

    platform::IFileSystem* m_fileSystem = nullptr;
    std::filesystem::path m_path;
    std::unique_ptr<platform::IFile> m_file;
    std::unique_ptr<platform::IMapping> m_mapping;
    std::vector<BlockRecord> m_pending;
    std::vector<BlockRecord> m_preferred;
    std::vector<BlockRecord> m_inMemory;     ///< when there is no file or the host cannot map it
    std::vector<std::uint32_t> m_firstBids;  ///< of each stretch of records that a lookup searches
    std::uint64_t m_count = 0;
};

}  // namespace pastille::store
