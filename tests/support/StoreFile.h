#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "format/Block.h"
#include "format/Crypt.h"
#include "format/Header.h"
#include "format/Page.h"
#include "platform/FileSystem.h"
#include "tests/support/StoreMemory.h"

namespace pastille::tests {

/// Which blocks of a 4 KB file are compressed.
enum class Packing { None, AllButHeaps, All };

/// How a store file is laid out. The defaults give what a healthy mail client writes, but for the page BIDs:
/// they start so high that no reader can take an index entry for a node.
struct StoreFormat {
    format::Variant variant = format::Variant::Unicode;
    bool ost = false;
    format::CryptMethod crypt = format::CryptMethod::Permute;
    Packing packing = Packing::AllButHeaps;
    bool encodeBeforePacking = true;  ///< the order that independent readers of 4 KB files take
    std::uint64_t firstPageBid = 0x1000001;
    std::size_t nodesPerPage = 0;      ///< entries of an NBT leaf page; 0: as many as fit
    std::size_t blocksPerPage = 0;     ///< entries of a BBT leaf page
    std::size_t childrenPerPage = 0;   ///< entries of an index page
    std::size_t childrenPerBlock = 0;  ///< entries of an XBLOCK, XXBLOCK, SLBLOCK or SIBLOCK
    bool spillHeaps = false;  ///< values that do not fit a heap's first block go on in further blocks
    std::size_t reservedPageSlots = 0;  ///< page places kept at the very start, filled first by tree pages
    bool keepDirectory = true;          ///< false for stores too large to remember every block's name
};

/// A variant with an encoding that all readers decode alike; packed blocks of 4 KB files are not encoded.
inline StoreFormat FormatOf(format::Variant variant, bool ost = false)
{
    const bool packs = variant == format::Variant::Unicode4k;
    return {.variant = variant,
            .ost = ost,
            .crypt = packs ? format::CryptMethod::None : format::CryptMethod::Permute};
}

inline constexpr format::Variant kAllVariants[] = {format::Variant::Ansi, format::Variant::Unicode,
                                                   format::Variant::Unicode4k};

inline const char* VariantName(format::Variant variant)
{
    constexpr const char* kNames[] = {"Ansi", "Unicode", "Unicode4k"};
    return kNames[static_cast<std::size_t>(variant) - 1];
}

struct NbtEntry {
    std::uint32_t nid = 0;
    std::uint64_t bidData = 0;
    std::uint64_t bidSub = 0;
    std::uint32_t parent = 0;
};

struct BbtEntry {
    std::uint64_t bid = 0;
    std::uint64_t ib = 0;
    std::uint16_t cb = 0;          ///< as stored
    std::uint16_t cbInflated = 0;  ///< written in 4 KB files only
    std::uint16_t references = 1;
};

/// An entry of a list of subnodes.
using SubnodeRef = format::SubnodeLeafEntry;

/// What stands at a place in the file.
enum class PlaceKind { AMap, NbtLeaf, NbtIndex, BbtLeaf, BbtIndex, Data, DataTree, Subnodes };

struct StorePlace {
    PlaceKind kind;
    std::string name{};  ///< of blocks: node name + "/data", "/tree", "/subnodes"
    std::uint64_t offset = 0;
    std::uint64_t extent = 0;  ///< bytes taken in the file, padding and trailer included
    std::uint64_t stored = 0;  ///< bytes before padding and trailer
    std::uint64_t bid = 0;
};

/// Where everything landed.
struct StoreDirectory {
    std::vector<StorePlace> places;
    std::map<std::uint32_t, std::uint64_t> nodeEntries;  ///< file offset of a node's entry in its leaf page
    std::map<std::string, std::uint32_t> nodes;          ///< node ids by name

    std::vector<StorePlace> All(PlaceKind kind) const;
    /// The only place of that name, or the first. Raises std::out_of_range: the test names something that is
    /// not there.
    const StorePlace& Find(const std::string& name) const;
};

/// The pages of both trees of a sound store, from its roots down; `format` becomes what the header says.
StoreDirectory FindTreePages(std::span<const std::byte> store, StoreFormat& format);

/// What is wrong with a page on purpose.
struct PageOptions {
    std::optional<std::uint64_t> bid{};       ///< the page's own BID; default: the next one
    std::optional<std::uint8_t> entrySize{};  ///< cbEnt; the entries keep their own size
    std::optional<std::uint16_t> count{};     ///< cEnt
    std::optional<std::uint16_t> maximum{};   ///< cEntMax
    std::optional<std::uint8_t> type{};       ///< ptype and ptypeRepeat
    bool goodSignature = true;
};

struct BlockOptions {
    std::string name{};
    PlaceKind kind = PlaceKind::Data;
    std::optional<std::uint64_t> bid{};  ///< default: the next one
    bool pack = true;                    ///< false: plain even where the format packs
};

/// Writes a store file block by block and page by page, straight from the published layout, by appending.
/// Nothing of it is held in memory but the entries of the two trees. [MS-PST] 2.2.2
class CStoreFile {
public:
    /// `file` must be empty and outlive this object.
    CStoreFile(platform::IFile& file, const StoreFormat& format);

    const StoreFormat& Format() const { return m_format; }
    const format::VariantLayout& Layout() const { return m_layout; }
    bool IsWide() const { return m_layout.wide; }
    /// Most data bytes of one block.
    std::size_t BlockBytes() const;

    /// Each returns the BID. An internal block is a tree block: never encoded.
    std::uint64_t WriteBlock(std::span<const std::byte> data, const BlockOptions& options = {});
    std::uint64_t WriteInternalBlock(std::span<const std::byte> data, const BlockOptions& options = {});
    /// One block, or an XBLOCK or XXBLOCK over several. 0 for no leaf.
    std::uint64_t WriteDataTree(const std::vector<Bytes>& leaves, const std::string& name);
    /// The same, cut into blocks of `leafBytes` (0: the largest).
    std::uint64_t WriteData(std::span<const std::byte> data, const std::string& name,
                            std::size_t leafBytes = 0);
    /// An SLBLOCK, or an SIBLOCK over several. 0 for no entry. `bid`: of the SLBLOCK when it is the only one.
    std::uint64_t WriteSubnodes(std::vector<SubnodeRef> entries, const std::string& name,
                                std::optional<std::uint64_t> bid = {});
    /// An XBLOCK of its own making: any children, any total.
    std::uint64_t WriteDataTreeBlock(std::uint8_t level, std::uint32_t total,
                                     std::span<const std::uint64_t> children, const BlockOptions& options)
    {
        return WriteInternalBlock(format::EncodeDataTreeBlock(m_layout, level, total, children), options);
    }

    void AddNode(const NbtEntry& entry, const std::string& name = {});
    const std::vector<NbtEntry>& Nodes() const { return m_nodes; }
    const std::vector<BbtEntry>& Blocks() const { return m_blocks; }
    /// Whether blocks written from now on get entries in the BBT.
    void ListBlocks(bool listed) { m_listsBlocks = listed; }

    /// Pages that no tree refers to, or that a caller builds a tree of. Each returns the page's file offset.
    std::uint64_t WriteNbtPage(const std::vector<NbtEntry>& entries, const PageOptions& options = {});
    std::uint64_t WriteBbtPage(const std::vector<BbtEntry>& entries, const PageOptions& options = {});

    /// Leaves the stretch up to `offset` unused.
    void SkipTo(std::uint64_t offset);
    std::uint64_t Position() const { return m_cursor; }

    /// Highest index handed out per node type, for the header.
    std::uint32_t& LastIndex(std::uint32_t nidType) { return m_lastIndex[nidType & 31]; }

    /// Writes both trees, the allocation maps and the header, and sets the file's size.
    void Finish();

    const StoreDirectory& Directory() const { return m_directory; }

private:
    std::uint64_t Allocate(std::size_t size, std::size_t alignment);
    std::uint64_t AllocatePage();
    void EnterSection();
    std::uint64_t SectionStart(std::uint64_t number) const;
    std::size_t MapPages(std::uint64_t section) const;
    void MarkAllocated(std::uint64_t offset, std::uint64_t size);

    std::uint64_t WriteAnyBlock(std::span<const std::byte> data, const BlockOptions& options, bool internal);
    void EncodeStored(Bytes& stored, std::uint64_t bid, bool internal, const BlockOptions& options) const;
    void AddReference(std::uint64_t bid);

    format::BlockReference WritePage(Bytes body, format::PageType tree, unsigned level, std::size_t count,
                                     const PageOptions& options);
    format::BlockReference WriteTree(std::vector<format::IndexEntry> level, format::PageType tree);
    template <class Entry, class Key, class Write>
    std::vector<format::IndexEntry> WriteLeaves(std::vector<Entry> entries, Key key, std::size_t perPage,
                                                Write write);
    std::vector<format::IndexEntry> WriteNbtLeaves();
    std::vector<format::IndexEntry> WriteBbtLeaves();
    void WriteMaps();
    void WriteMapPage(std::uint64_t offset, format::PageType type, std::span<const std::byte> bitmap,
                      std::uint64_t bid = 0);
    void WriteHeader(const format::BlockReference& nodeTree, const format::BlockReference& blockTree);
    void Put(std::uint64_t offset, std::span<const std::byte> bytes);
    void Flush();
    void Note(StorePlace place);

    platform::IFile& m_file;
    StoreFormat m_format;
    const format::VariantLayout& m_layout;
    std::uint64_t m_cursor = 0;
    std::uint64_t m_sections = 0;  ///< entered so far
    std::vector<Bytes> m_maps;
    std::vector<std::uint64_t> m_freeSlots;
    std::uint64_t m_nextBlock = 4;
    bool m_listsBlocks = true;
    std::uint64_t m_nextPage;
    std::array<std::uint32_t, 32> m_lastIndex;
    std::vector<NbtEntry> m_nodes;
    std::vector<BbtEntry> m_blocks;
    std::unordered_map<std::uint64_t, std::size_t> m_blockByBid;
    StoreDirectory m_directory;
    Bytes m_pending;
    std::uint64_t m_pendingOffset = 0;
    std::uint64_t m_fileSize = 0;
};

}  // namespace pastille::tests
