#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <tuple>
#include <vector>

namespace pastille::store::complete {

/// A page of the node tree that entries came from. 24 bytes.
struct NodePage {
    std::uint64_t offset;  ///< in the source file
    std::uint64_t bid;     ///< that the page gives itself; grows over a store's life
    bool isSound;          ///< its CRC is right
    bool isAtHome;         ///< its signature is right for its place
    std::uint8_t level;    ///< cLevel; entries come from pages of level 0
};

/// One NBT entry. 32 bytes. [MS-PST] 2.2.2.7.7.4
struct NodeVersion {
    std::uint64_t bidData;
    std::uint64_t bidSub;  ///< 0: no subnodes
    std::uint32_t nid;
    std::uint32_t parent;  ///< nidParent
    std::uint32_t page;    ///< as CNodeIndex numbers it; the newest one that has this entry
    std::uint32_t isLive;  ///< the newest page that covers the node has this entry
};
static_assert(sizeof(NodeVersion) == 32);

/// The nodes that the scan has found, each with all its versions.
class CNodeIndex {
public:
    /// The number of the page.
    std::uint32_t AddPage(const NodePage& page);
    /// Drops repeats of entries now and then: superseded pages are full of them.
    void Append(const NodeVersion& version);
    /// Orders the versions: by rising NID; of one node the live one first, then the newest before the older
    /// ones, entries of sound pages before the others. Of equal entries the newest stays.
    void Finish();
    /// Marks the version that has these four values unless one of its node is marked already; Finish must be
    /// called again then. REQUIRES: finished.
    void MarkLive(const NodeVersion& version);

    /// All versions of all nodes in that order.
    std::span<const NodeVersion> Versions() const { return m_versions; }
    /// The versions of one node; empty when it was not found.
    std::span<const NodeVersion> VersionsOf(std::uint32_t nid) const;
    /// All pages of the node tree, those without entries too.
    std::span<const NodePage> Pages() const { return m_pages; }
    const NodePage& PageOf(const NodeVersion& version) const { return m_pages[version.page]; }

private:
    std::tuple<bool, std::uint64_t, std::uint32_t> RankOf(const NodeVersion& version) const;

    std::vector<NodeVersion> m_versions;
    std::vector<NodePage> m_pages;
};

}  // namespace pastille::store::complete
