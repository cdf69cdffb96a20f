#include "store/BlockTable.h"

#include <algorithm>
#include <span>
#include <utility>

namespace pastille::store {
namespace {

/// Of records in order of their BIDs the first one of each stays.
void DropRepeats(std::vector<BlockRecord>& records)
{
    const auto isSameBlock = [](const BlockRecord& a, const BlockRecord& b) { return a.bid == b.bid; };
    records.erase(std::unique(records.begin(), records.end(), isSameBlock), records.end());
}

constexpr std::size_t kChunkRecords = 4000;
/// Records that a lookup searches once it knows where.
constexpr std::size_t kStride = 256;

std::span<const std::byte> AsBytes(std::span<const BlockRecord> records)
{
    return std::as_bytes(records);
}

/// Hoare partitioning with the middle element as pivot. Which of several records with one BID a search meets
/// depends on exactly this order, so no library sort may stand in for it.
void SortChunk(std::span<BlockRecord> records)
{
    std::vector<std::pair<std::ptrdiff_t, std::ptrdiff_t>> open{{0, std::ssize(records) - 1}};
    while (!open.empty()) {
        const auto [low, high] = open.back();
        open.pop_back();
        if (low >= high)
            continue;
        const std::uint32_t pivot = records[static_cast<std::size_t>(low + (high - low) / 2)].bid;
        std::ptrdiff_t i = low;
        std::ptrdiff_t j = high;
        while (i <= j) {
            while (records[static_cast<std::size_t>(i)].bid < pivot)
                ++i;
            while (records[static_cast<std::size_t>(j)].bid > pivot)
                --j;
            if (i <= j) {
                std::swap(records[static_cast<std::size_t>(i)], records[static_cast<std::size_t>(j)]);
                ++i;
                --j;
            }
        }
        open.emplace_back(low, j);
        open.emplace_back(i, high);
    }
}

/// The record that a binary search over the sorted records meets first.
const BlockRecord* Search(std::span<const BlockRecord> records, std::uint32_t bid)
{
    std::size_t low = 0;
    std::size_t high = records.size();
    while (low < high) {
        const std::size_t middle = low + (high - 1 - low) / 2;
        if (records[middle].bid == bid)
            return &records[middle];
        if (records[middle].bid < bid)
            low = middle + 1;
        else
            high = middle;
    }
    return nullptr;
}

/// Sorts each chunk and leaves one record of every BID, ordered by BID; nothing when told not to proceed.
std::vector<BlockRecord> ChooseRecords(std::vector<BlockRecord> records, const std::function<bool()>& proceed)
{
    // The chosen records of a chunk take the place of records looked at before.
    std::size_t kept = 0;
    std::vector<BlockRecord> chosen;
    for (std::size_t start = 0; start < records.size(); start += kChunkRecords) {
        const auto chunk = std::span(records).subspan(start, std::min(kChunkRecords, records.size() - start));
        if (!proceed())
            return {};
        SortChunk(chunk);
        chosen.clear();
        for (std::size_t i = 0; i < chunk.size();) {
            std::size_t next = i + 1;
            while (next < chunk.size() && chunk[next].bid == chunk[i].bid)
                ++next;
            chosen.push_back(next == i + 1 ? chunk[i] : *Search(chunk, chunk[i].bid));
            i = next;
        }
        std::copy(chosen.begin(), chosen.end(), records.begin() + static_cast<std::ptrdiff_t>(kept));
        kept += chosen.size();
    }
    records.resize(kept);
    // Stable: of several chunks that hold a BID the first one in the file decides.
    std::ranges::stable_sort(records, {}, &BlockRecord::bid);
    DropRepeats(records);
    return records;
}

/// Puts preferred records in the place of others with their BIDs. Both are ordered by BID, each BID once.
void PutInPlace(std::span<const BlockRecord> preferred, std::vector<BlockRecord>& records)
{
    auto next = preferred.begin();
    const auto isReplaced = [&](const BlockRecord& record) {
        while (next != preferred.end() && next->bid < record.bid)
            ++next;
        return next != preferred.end() && next->bid == record.bid;
    };
    std::erase_if(records, isReplaced);
    const auto others = static_cast<std::ptrdiff_t>(records.size());
    records.insert(records.end(), preferred.begin(), preferred.end());
    std::ranges::inplace_merge(records, records.begin() + others, {}, &BlockRecord::bid);
}

}  // namespace

CBlockTable::~CBlockTable()
{
    Remove();
}

void CBlockTable::CreateInMemory()
{
    Remove();
    m_count = 0;
}

void CBlockTable::Create(platform::IFileSystem& fileSystem, const std::filesystem::path& path)
{
    CreateInMemory();
    m_file = fileSystem.CreateTemporary(path);
    m_fileSystem = &fileSystem;
    m_path = path;
}

void CBlockTable::Append(const BlockRecord& record)
{
    constexpr std::size_t kPendingRecords = 65536;
    m_pending.push_back(record);
    ++m_count;
    if (m_file && m_pending.size() >= kPendingRecords)
        Flush();
}

void CBlockTable::Flush()
{
    if (m_pending.empty())
        return;
    m_file->WriteAt((m_count - m_pending.size()) * sizeof(BlockRecord), AsBytes(m_pending));
    m_pending.clear();
}

void CBlockTable::Prefer(const BlockRecord& record)
{
    m_preferred.push_back(record);
}

std::vector<BlockRecord> CBlockTable::Appended()
{
    if (!m_file)
        return m_pending;
    Flush();
    std::vector<BlockRecord> records(static_cast<std::size_t>(m_count));
    records.resize(m_file->ReadAt(0, std::as_writable_bytes(std::span(records))) / sizeof(BlockRecord));
    return records;
}

std::vector<std::uint32_t> CBlockTable::AppendedBids()
{
    std::vector<std::uint32_t> bids;
    bids.reserve(static_cast<std::size_t>(m_count));
    for (const BlockRecord& record : Appended())
        bids.push_back(record.bid);
    return bids;
}

void CBlockTable::Finish(const std::function<bool()>& proceed)
{
    std::vector<BlockRecord> chosen =
        ChooseRecords(m_file ? Appended() : std::exchange(m_pending, {}), proceed);
    std::ranges::stable_sort(m_preferred, {}, &BlockRecord::bid);
    DropRepeats(m_preferred);
    if (!proceed())
        return;
    PutInPlace(m_preferred, chosen);
    for (std::size_t i = 0; i < chosen.size(); i += kStride)
        m_firstBids.push_back(chosen[i].bid);
    if (!m_file) {
        m_inMemory = std::move(chosen);
        return;
    }
    m_file->WriteAt(0, AsBytes(chosen));
    m_file->SetSize(chosen.size() * sizeof(BlockRecord));
    m_mapping = m_file->Map();
    if (!m_mapping || m_mapping->Bytes().size() != chosen.size() * sizeof(BlockRecord)) {
        m_mapping.reset();
        m_inMemory = std::move(chosen);
    }
}

void CBlockTable::Remove()
{
    m_mapping.reset();
    m_file.reset();
    std::vector<BlockRecord>().swap(m_inMemory);
    std::vector<BlockRecord>().swap(m_pending);
    std::vector<BlockRecord>().swap(m_preferred);
    std::vector<std::uint32_t>().swap(m_firstBids);
    if (m_fileSystem == nullptr)
        return;
    const std::error_code error = m_fileSystem->Remove(m_path);
    if (error && error != std::errc::no_such_file_or_directory)
        m_fileSystem->Remove(m_path);
    m_fileSystem = nullptr;
}

std::span<const BlockRecord> CBlockTable::Records() const
{
    if (!m_mapping)
        return m_inMemory;
    const auto bytes = m_mapping->Bytes();
    return {reinterpret_cast<const BlockRecord*>(bytes.data()), bytes.size() / sizeof(BlockRecord)};
}

std::optional<BlockRecord> CBlockTable::Find(std::uint32_t bid) const
{
    if (bid == 0)
        return std::nullopt;
    // One look at a page of the index, whatever its size.
    const auto stride = std::ranges::upper_bound(m_firstBids, bid) - m_firstBids.begin();
    if (stride == 0)
        return std::nullopt;
    const std::span<const BlockRecord> all = Records();
    const std::size_t start = static_cast<std::size_t>(stride - 1) * kStride;
    const auto records = all.subspan(start, std::min(kStride, all.size() - start));
    const auto found =
        std::lower_bound(records.begin(), records.end(), bid,
                         [](const BlockRecord& record, std::uint32_t key) { return record.bid < key; });
    if (found == records.end() || found->bid != bid)
        return std::nullopt;
    return *found;
}

std::optional<BlockRecord> CBlockTable::FindWithRetry(std::uint32_t bid) const
{
    if (const auto found = Find(bid); found || bid == 0)
        return found;
    return Find(bid - 1);
}

}  // namespace pastille::store
