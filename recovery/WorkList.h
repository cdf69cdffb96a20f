#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "recovery/ItemClasses.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// One item on the work list of a node: the node's own, or a message embedded in one before it.
struct WorkItem {
    std::uint32_t bidData;
    std::uint32_t bidSub;
    std::size_t parent;  ///< index of the item that it is embedded in; the node's own item names itself
    unsigned depth;      ///< 0: the node's own item
    std::u16string attachmentName{};
    std::optional<ItemFamily> family{};  ///< with the item
    writer::CRef<writer::IMessageItem> item{};
    bool hasNewPicture = false;                        ///< a contact that was saved before it got one
    writer::CRef<writer::IMessageItem> placeholder{};  ///< mail that carries what the item cannot

    bool IsEmbedded() const { return depth != 0; }
    bool IsMail() const { return item && family == ItemFamily::Mail; }
};

/// The items of one node, embedded ones behind what they are embedded in.
///
/// References come from a damaged file, so the list bounds what one node can cost: messages are followed
/// kDeepest levels down, never into themselves, and each block is entered kMostEntries times at most.
class CWorkList {
public:
    static constexpr unsigned kDeepest = 32;
    static constexpr unsigned kMostEntries = 8;
    static constexpr std::size_t kMostItems = 20'000;
    /// Subnodes of all items together that are tried as attachments.
    static constexpr std::size_t kMostSubnodes = 1'000'000;

    /// Begins a run: what all nodes together may cost, in the terms of SpendBytes and SpendSubnode. Any
    /// number of nodes may name the same blocks.
    void AllowRun(std::uint64_t mostBytes, std::uint64_t mostSubnodes);
    /// Begins the list with the node's own item. `mostBytes`: what all bodies and attachments together may
    /// take, as stored in the source; a tree of blocks may be named any number of times.
    void Start(std::uint32_t bidData, std::uint32_t bidSub, std::uint64_t mostBytes);
    void Clear() { m_items.clear(); }

    std::size_t Size() const { return m_items.size(); }
    WorkItem& operator[](std::size_t index) { return m_items[index]; }

    /// True when a block may be entered as a message embedded in the item at `parent`; counts as an entry.
    bool Enter(std::size_t parent, std::uint32_t bidData);
    void Add(std::size_t parent, std::uint32_t bidData, std::uint32_t bidSub, std::u16string attachmentName);

    /// Both count down what is left for the node and for the run; false when it is used up.
    bool SpendSubnode();
    bool SpendBytes(std::uint64_t bytes);

private:
    std::vector<WorkItem> m_items;
    std::unordered_map<std::uint32_t, unsigned> m_entries;  ///< by BID
    std::size_t m_subnodesLeft = 0;
    std::uint64_t m_bytesLeft = 0;
    std::uint64_t m_runSubnodesLeft = 0;
    std::uint64_t m_runBytesLeft = 0;
};

}  // namespace pastille::recovery
