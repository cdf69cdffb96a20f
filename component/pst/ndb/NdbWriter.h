#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

#include "component/pst/ndb/AllocationPlan.h"
#include "component/pst/ndb/BlockCache.h"
#include "component/pst/ndb/BlockOutput.h"
#include "component/pst/ndb/NodeDatabase.h"
#include "component/pst/ndb/SortedList.h"
#include "component/pst/ndb/TreeImage.h"
#include "format/Crypt.h"
#include "format/Header.h"
#include "format/Ids.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// Writes the node database of a new Unicode PST into an empty file and reads back what has been written.
/// Blocks come first (each gets a BID); a node put into the store holds them; a checkpoint or commit makes
/// everything put so far a store. Blocks that no node holds by then are no part of it and cost only their
/// place.
///
/// What the header on disk names is never written over: blocks are appended, changed pages of the trees go to
/// new places, and the header comes last, when all it names is on the disk.
///
/// Failures of the file come out as std::system_error. After one the writer refuses all further work with the
/// same error; the file then is as the last checkpoint left it, with unused bytes behind (CompleteStore mends
/// that). Wrong use raises std::logic_error and its kin, a limit of the format std::length_error. Memory: 12
/// bytes per block ever written, 16 per node, 2 per tree entry, and 5 MiB under way to the file. Not for use
/// by two threads at once. [MS-PST] 2.2
class CNdbWriter final : public INodeDatabase {
public:
    /// REQUIRES: the file is empty, open for reading and writing, and outlives the writer.
    explicit CNdbWriter(platform::IFile& file, format::CryptMethod method = format::CryptMethod::Permute);

    /// Writes a data block of 1 to 8176 bytes, encoded by the store's method. Nothing refers to it yet.
    format::Bid AddDataBlock(std::span<const std::byte> bytes);
    /// Writes an XBLOCK, XXBLOCK, SLBLOCK or SIBLOCK as format::Encode... gives it. All blocks that it names
    /// must be this writer's and be written before.
    format::Bid AddInternalBlock(std::span<const std::byte> bytes);

    /// Puts a node, or replaces it: its blocks are held from now on, and those of the earlier version that
    /// nothing else holds go. Raises the index counters so that no NID like this one is handed out again.
    void PutNode(format::Nid nid, format::Bid data, format::Bid sub, format::Nid parent = {});
    /// Takes a node out of the store; true when there was one.
    bool RemoveNode(format::Nid nid);

    /// A new NID of a type: one above the last one, by the header's counters. Folders share their index with
    /// their tables (Nid::Make(type, folder.Index())), search folders with their queue, criteria and table.
    format::Nid AllocateNid(format::NidType type);
    /// A number that no row version of the store has had, from dwUnique.
    std::uint32_t NextUnique();

    /// Makes the file a store of everything put so far, at the cost of what has changed since the last time.
    /// Its header says that the allocation maps are not valid; they and the end of the file may be behind.
    /// Until the first checkpoint the file's header is zero; until the end of a later one the store of the
    /// one before stays as it was, after a power cut as well.
    void Checkpoint();
    /// As Checkpoint, and writes the allocation maps, which costs a write per 248 KiB of file. May be called
    /// again after more was added.
    void Commit();
    /// Completes the store of the last checkpoint after a failure, as CompleteStore does. REQUIRES: an
    /// operation has failed. False when there is no such store, or the file fails again.
    bool CompleteAfterFailure() noexcept;

    // INodeDatabase: all that was added so far, committed or not.
    const format::VariantLayout& Layout() const override { return format::kUnicodeLayout; }
    std::optional<NodeRecord> FindNode(format::Nid nid) override;
    void VisitNodes(const std::function<bool(const NodeRecord&)>& visit) override;
    format::SharedBytes ReadBlock(format::Bid bid) override;

    /// References to a block from nodes and from blocks that are themselves held. The file's cRef is one
    /// more.
    std::uint32_t ReferencesTo(format::Bid bid) const;
    /// Bytes that the file has grown to so far.
    std::uint64_t FileBytes() const { return m_plan.End(); }
    /// Makes the writer refuse all further work with that error.
    void Fail(std::error_code error) { m_failure = error; }
    /// True after a failure of the file, or of work that may have written.
    bool HasFailed() const { return static_cast<bool>(m_failure); }

private:
    /// A block written. The BID follows from its place in m_blocks and its kind.
    struct Block {
        std::uint32_t unit;  ///< file offset in units of 64 bytes
        std::uint16_t sizeAndKind;
        std::uint16_t references;
        std::uint16_t written;  ///< references that the tree on disk shows; 0: not in it

        std::uint64_t Offset() const { return std::uint64_t{unit} * format::kAllocationUnit; }
        std::size_t Size() const { return sizeAndKind & 0x3FFF; }
        bool IsInternal() const { return (sizeAndKind & 0x8000) != 0; }
    };
    static_assert(sizeof(Block) == 12);
    /// A node; its blocks by their number, 0: none.
    struct Node {
        std::uint32_t nid;
        std::uint32_t parent;
        std::uint32_t data;
        std::uint32_t sub;
        std::uint32_t Key() const { return nid; }
    };

    /// Runs work that may write. What it throws makes the writer refuse all further work: what stands in the
    /// file and in memory may no longer agree.
    template <class Work>
    auto Guard(Work&& work)
    {
        if (m_failure)
            throw std::system_error(m_failure, "the store failed earlier");
        try {
            return work();
        } catch (const std::system_error& error) {
            m_failure = error.code();
            throw;
        } catch (...) {
            m_failure = std::make_error_code(std::errc::io_error);
            throw;
        }
    }
    Block& BlockOf(format::Bid bid);
    const Block& BlockOf(format::Bid bid) const;
    format::Bid BidOf(std::uint32_t number) const;
    NodeRecord RecordOf(const Node& node) const;
    format::Bid AppendBlock(std::span<const std::byte> bytes, bool isInternal);
    std::vector<format::Bid> ReferencesIn(format::Bid internalBlock);
    enum class References { OneMore, OneLess };
    void ChangeReferences(format::Bid root, References change);
    void RaiseIndex(format::Nid nid);

    void BeginChanges();
    format::BlockReference StorePage(format::PageType tree, std::span<std::byte> page, unsigned level,
                                     std::size_t count);
    void UpdateBlockTree();
    void UpdateNodeTree();
    void WriteTrees();
    std::uint64_t WriteMaps();
    void WriteHeader(std::uint8_t amapValid);

    platform::IFile& m_file;
    CAllocationPlan m_plan;
    CBlockOutput m_output;
    CBlockCache m_cache;
    std::deque<Block> m_blocks;
    CSortedList<Node> m_nodes;
    format::FileHeader m_header;
    // Since the last checkpoint, in any order and with repetitions:
    std::vector<std::uint32_t> m_changedBlocks;  ///< numbers of blocks whose references have changed
    std::vector<std::uint64_t> m_changedNodes;   ///< NIDs
    CTreeImage m_blockTree{format::PageType::BlockTree};
    CTreeImage m_nodeTree{format::PageType::NodeTree};
    std::vector<std::uint64_t> m_supersededPages;  ///< of the trees, by the checkpoint that is being made
    std::optional<format::FileHeader> m_onDisk;    ///< the header as it was written last
    std::error_code m_failure;
};

/// Writes one node's data as a data tree. [MS-PST] 2.2.2.8.3.2
class CDataTreeWriter {
public:
    /// `writer` must outlive this object. `childrenPerBlock` bounds the entries of an XBLOCK and XXBLOCK.
    explicit CDataTreeWriter(CNdbWriter& writer, std::size_t childrenPerBlock = 1021);

    /// Appends bytes; blocks are cut where they are full.
    void Append(std::span<const std::byte> bytes);
    /// Appends a block as it is, for heaps and row matrices. All but the last must have 8176 bytes.
    void AppendWholeBlock(std::span<const std::byte> bytes);
    /// Appends a block written before, of `size` bytes.
    void AppendExistingBlock(format::Bid bid, std::size_t size);

    /// Ends the tree: its root, Bid 0 when no byte was appended. Nothing may be appended afterwards.
    format::Bid Finish();
    std::uint64_t Size() const { return m_size + m_pending.size(); }  ///< bytes appended so far

private:
    void AddLeaf(format::Bid bid, std::size_t size);
    void CloseIndexBlock();

    CNdbWriter& m_writer;
    std::size_t m_childrenPerBlock;
    std::vector<std::byte> m_pending;      ///< of Append, less than a block
    std::vector<std::uint64_t> m_leaves;   ///< of the open XBLOCK
    std::uint64_t m_leafBytes = 0;         ///< below the open XBLOCK
    std::vector<std::uint64_t> m_indexes;  ///< finished XBLOCKs
    std::uint64_t m_size = 0;
    bool m_lastIsShort = false;
};

/// Collects the subnodes of one node and writes their tree. [MS-PST] 2.2.2.8.3.3
class CSubnodeTreeWriter {
public:
    struct Limits {
        std::size_t leafEntries = 340;
        std::size_t indexEntries = 510;
    };
    CSubnodeTreeWriter() = default;
    explicit CSubnodeTreeWriter(Limits limits) : m_limits(limits) {}

    /// Adds a subnode. Order is free; each NID once.
    void Add(format::Nid nid, format::Bid data, format::Bid sub = {});
    std::size_t Count() const { return m_entries.size(); }
    /// Writes the tree: its root, Bid 0 when there are no subnodes. May be called again after further Adds.
    /// Raises std::length_error above 340 x 510 entries, std::invalid_argument on a NID given twice.
    format::Bid Finish(CNdbWriter& writer);

private:
    std::vector<NodeRecord> m_entries;
    Limits m_limits;
};

}  // namespace pastille::component::pst
