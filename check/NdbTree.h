#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_set>
#include <vector>

#include "check/NdbFile.h"

namespace pastille::check {

/// Follows one of the two B-trees from its root and notes what breaks a rule. A page with a fault that puts
/// its entries in doubt is noted once and not followed. [MS-PST] 2.2.2.7.7
class CTreeWalk {
public:
    using LeafVisitor = std::function<void(const format::CTreePage&)>;

    /// `pages` receives every page that the tree refers to.
    CTreeWalk(const NdbFile& file, format::PageType tree, std::vector<PageUse>& pages, LeafVisitor onLeaf);

    /// Returns false when not even the root can be read.
    bool Run(const format::BlockReference& root);
    /// False when a page was left out, so that entries are missing.
    bool IsComplete() const { return m_isComplete; }

private:
    struct Expected {
        std::optional<unsigned> level{};
        std::optional<std::uint64_t> key{};
    };
    bool Visit(const format::BlockReference& reference, const Expected& expected);
    bool ReadPage(const format::BlockReference& reference, std::vector<std::byte>& bytes);
    bool CheckTrailer(const format::BlockReference& reference, format::CByteView bytes) const;
    void CheckCounts(const format::CTreePage& page, std::uint64_t offset) const;
    void CheckKeys(const format::CTreePage& page, std::uint64_t offset, const Expected& expected);

    const NdbFile& m_file;
    format::PageType m_tree;
    std::vector<PageUse>& m_pages;
    LeafVisitor m_onLeaf;
    std::unordered_set<std::uint64_t> m_seen;  ///< offsets
    std::optional<std::uint64_t> m_lastKey;    ///< of the leaves so far
    bool m_isComplete = true;
};

}  // namespace pastille::check
