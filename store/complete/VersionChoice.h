#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "format/Header.h"
#include "format/Layout.h"
#include "store/SourceFile.h"
#include "store/complete/NodeIndex.h"
#include "store/complete/TreePages.h"

namespace pastille::store::complete {

/// Decides which version of each node is the live one.
///
/// What the tree's root leads to decides for the NIDs that it covers. Where there is no root, or a page below
/// it is missing, each page that was found is a claim: a leaf says what there is from its first to its last
/// key, an index page which leaf that is from one key to the next. Of a node the newest claim that covers it
/// decides (page BIDs grow over a store's life): what its leaf has is live, and what it does not have has
/// been deleted.
class CVersionChoice {
public:
    /// `source` and `nodes`, which is finished, must outlive this object.
    CVersionChoice(CSourceFile& source, const format::VariantLayout& layout, CNodeIndex& nodes);

    /// Marks the live versions. `root`: BREFNBT of a header that can be believed. The caller finishes the
    /// index again. False when `proceed` returned false.
    bool Decide(const std::optional<format::BlockReference>& root, const std::function<bool()>& proceed);

    /// Pages below the root that are missing or damaged, where the tree above them shows them; nothing when
    /// the root is not known. REQUIRES: decided.
    std::optional<std::uint64_t> DamagedPages() const { return m_damagedPages; }

private:
    /// A range of NIDs that a page is asked about. When `isBounded`, it decides from its own first key to its
    /// own last key only.
    struct Reach {
        std::uint64_t first, end;
        bool isBounded;
    };
    struct LoadedPage {
        TreePage facts;
        std::vector<std::byte> bytes;
    };

    std::optional<std::uint32_t> FindPage(const format::BlockReference& reference) const;
    std::vector<std::uint32_t> NewestFirst() const;
    std::optional<LoadedPage> Load(std::uint32_t page);
    void Walk(std::uint32_t page, const Reach& reach);
    void WalkReference(const format::BlockReference& reference, std::optional<unsigned> level,
                       const Reach& reach);
    void WalkChildren(const LoadedPage& page, const Reach& reach);
    void DecideByLeaf(const LoadedPage& page, std::uint32_t number, Reach reach);
    bool IsOpen(std::uint64_t first, std::uint64_t end) const;
    void Close(std::uint64_t first, std::uint64_t end);

    CSourceFile& m_source;
    const format::VariantLayout& m_layout;
    CNodeIndex& m_nodes;
    std::vector<std::uint32_t> m_byBid;             ///< page numbers
    std::map<std::uint64_t, std::uint64_t> m_open;  ///< NIDs not decided yet: first, end
    std::optional<std::uint64_t> m_damagedPages;
    bool m_isBelowRoot = false;      ///< the walk is that of the live tree
    std::uint64_t m_visitsLeft = 0;  ///< pages that walks may still look at
};

}  // namespace pastille::store::complete
