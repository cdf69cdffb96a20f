#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tests/support/StoreFile.h"

namespace pastille::tests {

/// Damages a finished store by name. Each operation changes only the bytes it names.
class CStoreDamage {
public:
    CStoreDamage(platform::IFile& file, const StoreDirectory& directory, const StoreFormat& format)
        : m_file(file), m_directory(directory), m_format(format), m_layout(format::LayoutOf(format.variant))
    {
    }

    // Anywhere.
    CStoreDamage& Zero(std::uint64_t offset, std::uint64_t length);
    CStoreDamage& Write(std::uint64_t offset, std::span<const std::byte> bytes);
    CStoreDamage& FlipBits(std::uint64_t offset, std::uint8_t mask);
    CStoreDamage& Truncate(std::uint64_t size);
    /// Zeroes so many of every hundred sectors of 512 bytes behind the first, drawn from `seed`.
    CStoreDamage& ZeroSectors(unsigned percent, std::uint32_t seed);
    /// Zeroes one stretch of so many hundredths of the first `size` bytes, somewhere behind the first sector.
    CStoreDamage& ZeroRun(std::uint64_t size, unsigned percent, std::uint32_t seed);
    /// Moves everything from `offset` on by `count` bytes of noise.
    CStoreDamage& Insert(std::uint64_t offset, std::uint64_t count);
    /// Takes `count` bytes out: everything behind them moves to the front.
    CStoreDamage& Remove(std::uint64_t offset, std::uint64_t count);
    CStoreDamage& FlipRandomBits(std::size_t count, std::uint32_t seed);

    // The header.
    CStoreDamage& ZeroHeader();
    /// All of it but the client magic, by which a store file is recognised.
    CStoreDamage& ZeroHeaderButMagic();
    CStoreDamage& ZeroRoot();
    /// Each root's place is that of the other tree.
    CStoreDamage& SwapRoots();
    CStoreDamage& SetClientMagic(std::uint16_t magic);
    CStoreDamage& SetCryptByte(std::uint8_t value);

    // Places: every page or block of a kind, or the one of a name.
    CStoreDamage& Drop(PlaceKind kind);
    CStoreDamage& Drop(PlaceKind kind, std::size_t number);
    CStoreDamage& DropEveryThird(PlaceKind kind);
    /// Makes the node pages that look alive and are none of the tree's look like none.
    CStoreDamage& DropOldNodePages();
    CStoreDamage& Drop(const std::string& name);
    CStoreDamage& BreakSignatures(PlaceKind kind);
    /// One bit of the CRC in each page of both trees.
    CStoreDamage& FlipPageSums();
    CStoreDamage& SetPageCount(PlaceKind kind, std::uint16_t count);
    /// Zeroes the trailers of all data blocks.
    CStoreDamage& DropBlockTrailers();

    // Entries and contents.
    CStoreDamage& SetNode(const NbtEntry& entry);
    /// Changes a block's contents, decoded; encodes them again and mends CRC. Only for blocks that are not
    /// packed.
    CStoreDamage& EditBlock(const std::string& name, const std::function<void(std::span<std::byte>)>& edit);
    /// Every entry of the NBT leaf page names the page's own BID as node, data, subnodes and parent.
    CStoreDamage& PointPageAtItself(std::size_t number);

private:
    Bytes Read(std::uint64_t offset, std::size_t length) const;
    void Seal(std::uint64_t page);

    platform::IFile& m_file;
    const StoreDirectory& m_directory;
    const StoreFormat& m_format;
    const format::VariantLayout& m_layout;
};

}  // namespace pastille::tests
