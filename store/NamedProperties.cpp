#include "store/NamedProperties.h"

#include <algorithm>
#include <array>
#include <optional>
#include <ranges>

#include "format/Bytes.h"
#include "store/DataTree.h"
#include "store/HeapBlock.h"

namespace pastille::store {
namespace {

constexpr std::uint16_t kGuidStream = 0x0002;
constexpr std::uint16_t kEntryStream = 0x0003;
constexpr std::uint16_t kFirstBucket = 0x1000;
constexpr std::uint16_t kBinary = 0x0102;
constexpr std::size_t kGuidBytes = 16;
constexpr std::size_t kRecordBytes = 8;
constexpr std::uint32_t kLowestLid = 0x8001;
constexpr std::uint32_t kHighestLid = 0x8FFE;
/// As many names as a map can hold. [MS-PST] 2.4.7
constexpr std::size_t kMostStreamBytes = 32768 * kRecordBytes;

/// Tails of the property sets whose names the item writers ask for.
constexpr std::array<std::uint64_t, 4> kKnownTails = {0x000000000046, 0x00AA003F1305, 0x317A210CC15B,
                                                      0x00F0580DBBDF};

std::uint64_t BigEndian(format::CByteView bytes, std::size_t offset, std::size_t length)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < length; ++i)
        value = (value << 8) | bytes.ReadOrZero<std::uint8_t>(offset + i);
    return value;
}

void AddGroups(format::CByteView stream, format::CNamedPropertyMap& map)
{
    constexpr std::size_t kMostGuids = 256;  // the key that tells groups apart has one byte
    for (std::size_t i = 0; i < kMostGuids && stream.Holds(i * kGuidBytes, kGuidBytes); ++i) {
        const std::size_t at = i * kGuidBytes;
        const std::uint64_t tail = BigEndian(stream, at + 10, 6);
        if (std::find(kKnownTails.begin(), kKnownTails.end(), tail) == kKnownTails.end())
            continue;
        format::CNamedPropertyMap::Group group;
        group.key = static_cast<std::uint8_t>(i);
        group.data1 = stream.ReadOrZero<std::uint32_t>(at);
        group.data2 = stream.ReadOrZero<std::uint16_t>(at + 4);
        group.data3 = stream.ReadOrZero<std::uint16_t>(at + 6);
        group.tail16 = static_cast<std::uint16_t>(BigEndian(stream, at + 8, 2));
        group.tail48 = tail;
        map.AddGroup(std::move(group));
    }
}

std::size_t AddRecords(format::CByteView stream, format::CNamedPropertyMap& map)
{
    std::size_t added = 0;
    for (std::size_t at = 0; stream.Holds(at, kRecordBytes); at += kRecordBytes)
        added += AddNamedPropertyRecord(map, *stream.Sub(at, kRecordBytes)) ? 1 : 0;
    return added;
}

/// Reads what lies under one map node. Streams and trees may repeat and share blocks at will, so everything
/// is counted against one budget.
class CMapReader {
public:
    CMapReader(CBlockReader& reader, std::uint32_t bidSub, format::CNamedPropertyMap& map)
        : m_reader(reader), m_subnodes(LoadSubnodes(reader, bidSub)), m_map(map)
    {
    }

    /// The records of the map's heap. False when it has none that can be read.
    bool ReadHeap(const CHeapBlock& heap)
    {
        const auto records = heap.PropertyRecords(true);
        if (!records)
            return false;
        // Names of a small map all go to one group, which is made for them. A stale copy of the map must not
        // add its sets a second time.
        constexpr std::size_t kFewestRecords = 50;
        if (m_map.IsEmpty() && records->size() >= kFewestRecords)
            AddGroups(format::CByteView(StreamOf(heap, *records, kGuidStream)), m_map);
        const Stream entries = StreamOf(heap, *records, kEntryStream);
        AddRecords(format::CByteView(entries), m_map);
        return !entries.empty() || ReadBuckets(heap, *records);
    }

    /// Everything that a tree holds, read as records; what is no numeric name in range adds nothing.
    void ReadTree(std::uint32_t bidData)
    {
        ReadDataTree(m_reader, bidData, [&](std::span<const std::byte> piece) {
            AddRecords(format::CByteView(piece), m_map);
            return Spend(piece.size());
        });
    }

    void ReadSubnodes()
    {
        for (const SubnodeEntry& entry : m_subnodes) {
            if (!Spend(0))
                return;
            ReadTree(entry.bidData);
        }
    }

private:
    using Stream = CBlockReader::Buffer;

    /// The entry stream is lost: the hash buckets hold the same records once more.
    bool ReadBuckets(const CHeapBlock& heap, const std::vector<PropertyRecord>& records)
    {
        bool found = false;
        std::uint32_t lastRead = 0;
        for (const PropertyRecord& record : records) {
            if (record.type != kBinary || record.id < kFirstBucket || record.value == lastRead)
                continue;
            lastRead = record.value;
            found = AddRecords(format::CByteView(ReadStream(heap, record.value)), m_map) != 0 || found;
        }
        return found;
    }

    Stream StreamOf(const CHeapBlock& heap, const std::vector<PropertyRecord>& records, std::uint16_t id)
    {
        const auto record = std::ranges::find_if(records, [&](const PropertyRecord& candidate) {
            return candidate.id == id && candidate.type == kBinary;
        });
        return record == records.end() ? Stream() : ReadStream(heap, record->value);
    }

    /// The value of a binary property of the map node: in the heap's first block, or in a subnode.
    Stream ReadStream(const CHeapBlock& heap, std::uint32_t hnid)
    {
        Stream bytes;
        if (heap.IsOwn(hnid)) {
            const auto allocation = heap.Allocation(hnid);
            if (allocation && Spend(allocation->Size()))
                bytes.assign(allocation->Bytes().begin(), allocation->Bytes().end());
            return bytes;
        }
        const auto entry = std::ranges::find(m_subnodes, hnid, &SubnodeEntry::nid);
        if (entry == m_subnodes.end() || !Spend(0))
            return bytes;
        ReadDataTree(m_reader, entry->bidData, [&](std::span<const std::byte> piece) {
            const std::size_t taken = std::min(piece.size(), kMostStreamBytes - bytes.size());
            bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(taken));
            return Spend(piece.size()) && bytes.size() < kMostStreamBytes;
        });
        return bytes;
    }

    /// Takes bytes and the work of reaching them off the budget; false when it is used up.
    bool Spend(std::size_t bytes)
    {
        constexpr std::size_t kBlockCost = 512;
        m_budget -= std::min(m_budget, bytes + kBlockCost);
        return m_budget != 0;
    }

    CBlockReader& m_reader;
    std::vector<SubnodeEntry> m_subnodes;
    format::CNamedPropertyMap& m_map;
    std::size_t m_budget = 16 * kMostStreamBytes;
};

}  // namespace

bool AddNamedPropertyRecord(format::CNamedPropertyMap& map, format::CByteView record)
{
    constexpr std::uint32_t kFirstNamedId = 0x8000;
    const auto lid = record.ReadOrZero<std::uint32_t>(0);
    const bool isString = (record.ReadOrZero<std::uint16_t>(4) & 1) != 0;
    const auto index = record.Read<std::uint16_t>(6);
    if (!index || isString || lid < kLowestLid || lid > kHighestLid)
        return false;
    return map.AddPair(lid, kFirstNamedId + *index);
}

void ReadNamedProperties(CBlockReader& reader, std::uint32_t bidData, std::uint32_t bidSub,
                         format::CNamedPropertyMap& map)
{
    CMapReader mapReader(reader, bidSub, map);
    CBlockReader::Buffer bytes;
    const auto block = FirstDataBlock(reader, bidData);
    // The map often stands before the first folder, so it may be the first block that tells the crypt method.
    if (block && reader.IsMethodPending())
        reader.DetectCryptMethod(*block);
    if (block && reader.ReadContents(*block, bytes)) {
        const CHeapBlock heap(format::CByteView(bytes), reader.Layout());
        if (reader.AcceptsSignature(heap.Signature()) && mapReader.ReadHeap(heap))
            return;
    }
    mapReader.ReadSubnodes();
    if (!map.HasPairs())
        mapReader.ReadTree(bidData);
}

}  // namespace pastille::store
