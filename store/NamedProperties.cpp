#include "store/NamedProperties.h"

#include <algorithm>
#include <array>
#include <optional>

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

/// The value of a binary property of the map node: in the heap's first block, or in a subnode.
CBlockReader::Buffer ReadStream(CBlockReader& reader, const CHeapBlock& heap, std::uint32_t hnid,
                                const std::vector<SubnodeEntry>& subnodes)
{
    CBlockReader::Buffer bytes;
    if ((hnid & 0x1F) == 0) {
        if (const auto allocation = heap.Allocation(hnid))
            bytes.assign(allocation->Bytes().begin(), allocation->Bytes().end());
        return bytes;
    }
    const auto entry = std::find_if(subnodes.begin(), subnodes.end(),
                                    [&](const SubnodeEntry& candidate) { return candidate.nid == hnid; });
    if (entry == subnodes.end())
        return bytes;
    ReadDataTree(reader, entry->bidData, [&](std::span<const std::byte> piece) {
        const std::size_t taken = std::min(piece.size(), kMostStreamBytes - bytes.size());
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(taken));
        return bytes.size() < kMostStreamBytes;
    });
    return bytes;
}

/// Everything that lies in the subnodes, read as records; what is no numeric name in range adds nothing.
void AddFromSubnodes(CBlockReader& reader, const std::vector<SubnodeEntry>& subnodes,
                     format::CNamedPropertyMap& map)
{
    for (const SubnodeEntry& entry : subnodes) {
        ReadDataTree(reader, entry.bidData, [&](std::span<const std::byte> piece) {
            AddRecords(format::CByteView(piece), map);
            return true;
        });
    }
}

/// The map's records from its heap. False when the heap cannot be read.
bool ReadFromHeap(CBlockReader& reader, const CHeapBlock& heap, const std::vector<SubnodeEntry>& subnodes,
                  format::CNamedPropertyMap& map)
{
    const auto records = heap.PropertyRecords(true);
    if (!records)
        return false;
    const auto streamOf = [&](std::uint16_t id) {
        const auto record = std::find_if(
            records->begin(), records->end(),
            [&](const PropertyRecord& candidate) { return candidate.id == id && candidate.type == kBinary; });
        return record == records->end() ? CBlockReader::Buffer()
                                        : ReadStream(reader, heap, record->value, subnodes);
    };
    if (map.IsEmpty())  // a stale copy of the map must not add its sets a second time
        AddGroups(format::CByteView(streamOf(kGuidStream)), map);
    if (AddRecords(format::CByteView(streamOf(kEntryStream)), map) != 0)
        return true;
    // The entry stream is lost: the hash buckets hold the same records once more.
    for (const PropertyRecord& record : *records) {
        if (record.type == kBinary && record.id >= kFirstBucket)
            AddRecords(format::CByteView(ReadStream(reader, heap, record.value, subnodes)), map);
    }
    return true;
}

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
    const std::vector<SubnodeEntry> subnodes = LoadSubnodes(reader, bidSub);
    CBlockReader::Buffer bytes;
    const auto bids = LoadDataTree(reader, bidData);
    const auto block = bids.empty() ? std::optional<BlockRecord>() : reader.Find(bids.front());
    // The map often stands before the first folder, so it may be the first block that tells the crypt method.
    if (block && reader.IsMethodPending())
        reader.DetectCryptMethod(*block);
    if (block && reader.ReadContents(*block, bytes)) {
        const CHeapBlock heap(format::CByteView(bytes), reader.Layout());
        if (IsHeapSignature(heap.Signature()) && ReadFromHeap(reader, heap, subnodes, map))
            return;
    }
    AddFromSubnodes(reader, subnodes, map);
}

}  // namespace pastille::store
