#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "check/Finding.h"
#include "format/Header.h"
#include "format/Heap.h"
#include "format/Ids.h"
#include "format/Layout.h"
#include "platform/FileSystem.h"

namespace pastille::check {

/// The node database of a store as its header, trees and blocks give it, for the checks of what lies above.
/// What cannot be read is not there; why, Open and CheckReferences note, once for each page and block, and
/// the operations that read say nothing more. Memory: about 48 bytes for each block and 24 for each node, and
/// what 64 blocks hold. [MS-PST] 2.2
class CDatabase {
public:
    struct Node {
        std::uint32_t nid;
        std::uint32_t parent;
        std::uint64_t data;  ///< BID, 0: none
        std::uint64_t sub;   ///< BID, 0: none
    };
    struct Subnode {
        std::uint32_t nid;
        std::uint64_t data;
        std::uint64_t sub;
    };

    /// `source` and `findings` must outlive the database.
    CDatabase(platform::IByteSource& source, IFindings& findings);
    ~CDatabase();

    /// Reads the header, both trees, every block with its trailer. False when the file is no store that could
    /// be checked at all: no header, or a tree without a root. Nothing else may be asked then.
    bool Open();

    const format::VariantLayout& Layout() const;
    const format::FileHeader& Header() const;

    /// All nodes by rising NID, each once.
    std::span<const Node> Nodes() const;
    const Node* FindNode(std::uint32_t nid) const;
    /// False when a page of the node tree could not be read: nodes that something refers to may be missing.
    bool HasAllNodes() const;

    /// The decoded bytes of a block; nullptr when it is not there or not sound.
    format::SharedBytes ReadBlock(std::uint64_t bid);
    /// The blocks below a data tree's root in order (none for BID 0). Nothing when the tree is broken.
    class CDataTree final : public format::IBlockSequence {
    public:
        CDataTree(CDatabase& database, std::vector<std::uint64_t> blocks, std::uint64_t size)
            : m_database(&database), m_blocks(std::move(blocks)), m_size(size)
        {
        }
        std::size_t BlockCount() override { return m_blocks.size(); }
        format::SharedBytes BlockAt(std::size_t index) override
        {
            return index < m_blocks.size() ? m_database->ReadBlock(m_blocks[index]) : nullptr;
        }
        std::uint64_t Size() const { return m_size; }  ///< data bytes of all blocks

    private:
        CDatabase* m_database;
        std::vector<std::uint64_t> m_blocks;
        std::uint64_t m_size;
    };
    std::optional<CDataTree> OpenData(std::uint64_t bid);
    /// The subnodes directly below a subnode tree's root by rising NID, each once; what can be read of them,
    /// and none of a tree that contains itself. The same tree may be below many nodes, and as deep as blocks
    /// last.
    std::vector<Subnode> Subnodes(std::uint64_t bidSub);

    /// Counts what the nodes refer to, compares it with each block's cRef and the allocation maps with what
    /// is used, and the header's counters with what they have to be above. Comes before the checks of what
    /// lies above: it finds the subnode trees that contain themselves.
    void CheckReferences();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace pastille::check
