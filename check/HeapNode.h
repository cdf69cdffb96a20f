#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "check/MessagingRun.h"
#include "format/Heap.h"

namespace pastille::check {

/// The bytes behind an HNID.
struct StoredBytes {
    std::uint64_t size = 0;
    bool isInHeap = false;
    bool isInSubnode = false;   ///< neither: HNID 0, no bytes
    bool isUnreadable = false;  ///< in a subnode whose blocks are broken, which has been noted
    format::HeldBytes held;     ///< when in the heap
    std::uint64_t dataBid = 0;  ///< when in a subnode
};

/// A node or subnode whose data is a heap, and what in it is referred to.
class CHeapNode {
public:
    /// All must outlive the node.
    CHeapNode(CMessagingRun& run, const Place& place, std::uint64_t bidData, std::uint64_t bidSub);
    CHeapNode(const CHeapNode&) = delete;
    CHeapNode& operator=(const CHeapNode&) = delete;

    /// Checks every block. False when there is no heap, it is not of the client expected, or its blocks were
    /// checked as another node's; blocks that cannot be read bring no finding of their own. [MS-PST] 2.3.1
    bool Open(std::uint8_t clientSignature);

    CMessagingRun& Run() const { return m_run; }
    const Place& Where() const { return m_place; }
    void Note(const Rule& rule, const std::string& detail = {}, const std::string& figures = {}) const
    {
        m_run.Note(rule, m_place, detail, figures);
    }

    /// The same for something that is not there: only when all blocks could be read.
    void NoteMissing(const Rule& rule, const std::string& detail = {}, const std::string& figures = {}) const
    {
        if (m_isWhole)
            Note(rule, detail, figures);
    }
    /// The same for a reference that leads astray. What it should have led to is not reported as unused.
    void NoteAstray(const Rule& rule, const std::string& detail = {}, const std::string& figures = {})
    {
        NoteMissing(rule, detail, figures);
        m_hasAstray = true;
    }
    /// False when a block of the node's data or the tree of its subnodes could not be read.
    bool IsWhole() const { return m_isWhole; }

    std::uint32_t UserRoot() const { return m_heap.UserRoot(); }
    /// An allocation that one reference leads to; a second reference to it is a finding. Nothing, without a
    /// finding, when the HID leads nowhere.
    std::optional<format::HeldBytes> TakeItem(std::uint32_t hid);
    /// The same for what is either an allocation or a subnode.
    std::optional<StoredBytes> Take(std::uint32_t hnid);

    std::span<const CDatabase::Subnode> Subnodes() const { return m_subnodes; }
    const CDatabase::Subnode* FindSubnode(std::uint32_t nid) const;
    /// Notes that something refers to the subnode.
    void UseSubnode(const CDatabase::Subnode& subnode);
    /// Allocations and subnodes that nothing referred to.
    void ReportUnused() const;

private:
    /// The node's blocks, the last ones asked for kept: values lie close together.
    class CBlocks final : public format::IBlockSequence {
    public:
        void Read(std::optional<CDatabase::CDataTree> tree) { m_tree = std::move(tree); }
        std::size_t BlockCount() override { return m_tree ? m_tree->BlockCount() : 0; }
        format::SharedBytes BlockAt(std::size_t index) override;

    private:
        static constexpr std::size_t kKept = 16;
        struct Kept {
            std::size_t index = 0;
            format::SharedBytes bytes;
        };
        std::optional<CDatabase::CDataTree> m_tree;
        std::array<Kept, kKept> m_kept;
    };

    void CheckBlock(std::size_t index, std::span<const std::byte> bytes);
    void CheckItems(std::size_t index, const format::CHeapBlockView& block, format::CByteView bytes);
    void CheckFillLevels();

    CMessagingRun& m_run;
    const Place& m_place;
    CBlocks m_blocks;
    format::CHeapView m_heap;
    std::vector<CDatabase::Subnode> m_subnodes;
    std::vector<bool> m_usedSubnodes;
    std::vector<std::size_t> m_firstItem;  ///< of each block, in m_usedItems
    std::vector<bool> m_usedItems;         ///< empty ones count as used
    std::vector<std::uint8_t> m_fillLevels;
    std::vector<std::uint8_t> m_statedLevels;
    bool m_isFirstVisit;
    bool m_isWhole = true;
    bool m_hasAstray = false;
};

}  // namespace pastille::check
