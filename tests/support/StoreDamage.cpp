#include "tests/support/StoreDamage.h"

#include <algorithm>
#include <random>
#include <stdexcept>

#include "format/Bytes.h"
#include "format/Checksum.h"

namespace pastille::tests {

using format::LoadLE;
using format::StoreLE;

namespace {
constexpr std::uint64_t kSector = 512;
}

Bytes CStoreDamage::Read(std::uint64_t offset, std::size_t length) const
{
    Bytes bytes(length);
    m_file.ReadAt(offset, bytes);
    return bytes;
}

CStoreDamage& CStoreDamage::Zero(std::uint64_t offset, std::uint64_t length)
{
    const std::uint64_t end = std::min(offset + length, m_file.Size());
    if (offset < end)
        m_file.WriteAt(offset, Bytes(end - offset));
    return *this;
}

CStoreDamage& CStoreDamage::Write(std::uint64_t offset, std::span<const std::byte> bytes)
{
    m_file.WriteAt(offset, bytes);
    return *this;
}

CStoreDamage& CStoreDamage::FlipBits(std::uint64_t offset, std::uint8_t mask)
{
    Bytes byte = Read(offset, 1);
    byte[0] ^= static_cast<std::byte>(mask);
    return Write(offset, byte);
}

CStoreDamage& CStoreDamage::Truncate(std::uint64_t size)
{
    m_file.SetSize(std::min(size, m_file.Size()));
    return *this;
}

CStoreDamage& CStoreDamage::ZeroSectors(unsigned percent, std::uint32_t seed)
{
    std::mt19937 random(seed);
    for (std::uint64_t at = kSector; at < m_file.Size(); at += kSector) {
        if (random() % 100 < percent)
            Zero(at, kSector);
    }
    return *this;
}

CStoreDamage& CStoreDamage::ZeroRun(std::uint64_t size, unsigned percent, std::uint32_t seed)
{
    const std::uint64_t sectors = size / kSector;
    const std::uint64_t length = sectors * percent / 100;
    return Zero((1 + std::mt19937(seed)() % (sectors - length)) * kSector, length * kSector);
}

CStoreDamage& CStoreDamage::Insert(std::uint64_t offset, std::uint64_t count)
{
    constexpr std::uint64_t kPiece = std::uint64_t{1} << 20;
    for (std::uint64_t end = m_file.Size(); end > offset;) {
        const std::uint64_t start = end - std::min(kPiece, end - offset);
        Write(start + count, Read(start, end - start));
        end = start;
    }
    Bytes noise(count);
    std::minstd_rand random(1);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<std::byte>(random() >> 8); });
    return Write(offset, noise);
}

CStoreDamage& CStoreDamage::Remove(std::uint64_t offset, std::uint64_t count)
{
    const std::uint64_t end = m_file.Size();
    Write(offset, Read(offset + count, end - offset - count));
    return Truncate(end - count);
}

CStoreDamage& CStoreDamage::FlipRandomBits(std::size_t count, std::uint32_t seed)
{
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t at = kSector + random() % (m_file.Size() - kSector);
        FlipBits(at, static_cast<std::uint8_t>(1u << random() % 8));
    }
    return *this;
}

CStoreDamage& CStoreDamage::ZeroHeader()
{
    return Zero(0, m_layout.headerBytes);
}

CStoreDamage& CStoreDamage::ZeroHeaderButMagic()
{
    return Zero(0, 8).Zero(10, m_layout.headerBytes - 10);
}

CStoreDamage& CStoreDamage::ZeroRoot()
{
    return m_layout.wide ? Zero(0xB4, 72) : Zero(0xA4, 40);
}

CStoreDamage& CStoreDamage::SwapRoots()
{
    const std::uint64_t nbt = m_layout.wide ? 0xD8 : 0xB8;
    const std::size_t size = 2 * m_layout.keyWidth;
    const Bytes first = Read(nbt, size), second = Read(nbt + size, size);
    return Write(nbt, second).Write(nbt + size, first);
}

CStoreDamage& CStoreDamage::SetClientMagic(std::uint16_t magic)
{
    Bytes word(2);
    StoreLE(std::span(word), 0, magic);
    return Write(8, word);
}

CStoreDamage& CStoreDamage::SetCryptByte(std::uint8_t value)
{
    return Write(m_layout.cryptMethodOffset, Bytes(1, static_cast<std::byte>(value)));
}

CStoreDamage& CStoreDamage::Drop(PlaceKind kind)
{
    for (const StorePlace& place : m_directory.All(kind))
        Zero(place.offset, place.extent);
    return *this;
}

CStoreDamage& CStoreDamage::Drop(PlaceKind kind, std::size_t number)
{
    const StorePlace place = m_directory.All(kind).at(number);
    return Zero(place.offset, place.extent);
}

CStoreDamage& CStoreDamage::DropEveryThird(PlaceKind kind)
{
    const std::vector<StorePlace> places = m_directory.All(kind);
    for (std::size_t i = 1; i < places.size(); i += 3)
        Zero(places[i].offset, places[i].extent);
    return *this;
}

CStoreDamage& CStoreDamage::DropOldNodePages()
{
    const std::vector<StorePlace> leaves = m_directory.All(PlaceKind::NbtLeaf);
    for (std::uint64_t at = 0; at + m_layout.pageSize <= m_file.Size(); at += m_layout.pageSize) {
        const std::uint64_t type = at + m_layout.typeOffset;
        // What stands before the type may by now be a block's.
        if (LoadLE<std::uint16_t>(Read(type, 2), 0) == format::pageword::kNbt &&
            std::ranges::find(leaves, at, &StorePlace::offset) == leaves.end())
            Zero(type, 2);
    }
    return *this;
}

CStoreDamage& CStoreDamage::Drop(const std::string& name)
{
    const StorePlace& place = m_directory.Find(name);
    return Zero(place.offset, place.extent);
}

CStoreDamage& CStoreDamage::BreakSignatures(PlaceKind kind)
{
    for (const StorePlace& place : m_directory.All(kind)) {
        const std::uint64_t at = kind < PlaceKind::Data
                                     ? place.offset + m_layout.signatureOffset
                                     : place.offset + place.extent - m_layout.blockTrailerSize + 2;
        FlipBits(at, 0x5A).FlipBits(at + 1, 0x5A);
    }
    return *this;
}

CStoreDamage& CStoreDamage::FlipPageSums()
{
    for (const StorePlace& place : m_directory.places) {
        if (place.kind > PlaceKind::AMap && place.kind < PlaceKind::Data)
            FlipBits(place.offset + m_layout.pageCrcOffset, 4);
    }
    return *this;
}

CStoreDamage& CStoreDamage::SetPageCount(PlaceKind kind, std::uint16_t count)
{
    Bytes bytes(2);
    StoreLE(std::span(bytes), 0, count);
    bytes.resize(m_layout.countWidth);
    for (const StorePlace& place : m_directory.All(kind))
        Write(place.offset + m_layout.countOffset, bytes);
    return *this;
}

CStoreDamage& CStoreDamage::DropBlockTrailers()
{
    for (const StorePlace& place : m_directory.places) {
        if (place.kind >= PlaceKind::Data)
            Zero(place.offset + place.extent - m_layout.blockTrailerSize, m_layout.blockTrailerSize);
    }
    return *this;
}

void CStoreDamage::Seal(std::uint64_t page)
{
    Bytes bytes = Read(page, m_layout.pageSize);
    Bytes crc(4);
    StoreLE(std::span(crc), 0, format::ComputeCrc(std::span(bytes).first(m_layout.typeOffset)));
    Write(page + m_layout.pageCrcOffset, crc);
}

CStoreDamage& CStoreDamage::SetNode(const NbtEntry& entry)
{
    const std::uint64_t at = m_directory.nodeEntries.at(entry.nid);
    const std::uint64_t fields[] = {entry.nid, entry.bidData, entry.bidSub, entry.parent};
    for (std::size_t i = 0; i < 4; ++i) {
        Bytes value(8);
        StoreLE(std::span(value), 0, fields[i]);
        value.resize(i < 3 ? m_layout.keyWidth : 4);
        Write(at + i * m_layout.keyWidth, value);
    }
    Seal(at / m_layout.pageSize * m_layout.pageSize);
    return *this;
}

CStoreDamage& CStoreDamage::EditBlock(const std::string& name,
                                      const std::function<void(std::span<std::byte>)>& edit)
{
    const StorePlace& place = m_directory.Find(name);
    const std::uint64_t trailer = place.offset + place.extent - m_layout.blockTrailerSize;
    if (m_layout.variant == format::Variant::Unicode4k &&
        LoadLE<std::uint16_t>(Read(trailer, 24), 18) != place.stored)
        throw std::logic_error("a packed block cannot be edited");
    Bytes data = Read(place.offset, place.stored);
    const bool encoded = place.kind == PlaceKind::Data;
    if (encoded)
        format::DecodeBlock(m_format.crypt, place.bid, data);
    edit(data);
    if (encoded)
        format::EncodeBlock(m_format.crypt, place.bid, data);
    Bytes crc(4);
    StoreLE(std::span(crc), 0, format::ComputeCrc(data));
    return Write(place.offset, data).Write(trailer + m_layout.blockCrcOffset, crc);
}

CStoreDamage& CStoreDamage::PointPageAtItself(std::size_t number)
{
    const StorePlace page = m_directory.All(PlaceKind::NbtLeaf).at(number);
    Bytes bytes = Read(page.offset, m_layout.pageSize);
    const std::size_t count = LoadLE<std::uint8_t>(bytes, m_layout.countOffset);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t field = 0; field < 4; ++field) {
            const std::size_t at = i * m_layout.nodeEntrySize + field * m_layout.keyWidth;
            StoreLE(std::span(bytes), at, static_cast<std::uint32_t>(page.bid));
        }
    }
    Write(page.offset, bytes);
    Seal(page.offset);
    return *this;
}

}  // namespace pastille::tests
