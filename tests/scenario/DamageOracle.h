#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// What damage left of a built store, worked out from the published layout and from what the builder knows.
/// A repair's own readers have no part in it.
class CDamageOracle {
public:
    struct Options {
        bool smartScan = false;
        std::uint64_t insertedAt = ~std::uint64_t{0};  ///< file offset of bytes that were not there before
        std::uint64_t insertedBytes = 0;
    };

    /// `sound` must outlive this object.
    CDamageOracle(const CBuiltStore& sound, Bytes damaged, const Options& options);

    // Of what a label names: a folder, a mail, or a message attached to one ("mail/attachment 0/message").

    /// Its property context can be found and is whole.
    bool HasContext(const std::string& label) const;
    /// A node that can be found names it; of several nodes only those of folders count.
    bool HasNode(const std::string& label) const;
    /// A Smart Scan takes its property context for one that no node refers to.
    bool IsOrphan(const std::string& label) const;
    /// Everything that it is made of can be found and is whole.
    bool IsWhole(const std::string& label) const;

private:
    struct Entry {
        std::uint32_t nid, bidData, bidSub;
    };
    struct Location {
        std::uint64_t ib, cb;
        auto operator<=>(const Location&) const = default;
    };

    std::uint64_t Moved(std::uint64_t offset) const;
    bool IsUnchanged(std::uint64_t offset, std::uint64_t length) const;
    std::uint64_t Key(std::uint64_t offset) const;
    template <class Integer>
    Integer At(std::uint64_t offset) const;
    bool IsSigned(std::uint64_t page) const;
    void ReadNodePage(std::uint64_t page);
    void ReadBlockPage(std::uint64_t page);
    bool HasTrailer(const StorePlace& block) const;
    bool IsFound(const StorePlace& block) const;
    std::uint32_t BidOf(const std::string& block) const;

    const StoreDirectory& m_directory;
    const Bytes& m_before;
    Bytes m_after;
    Options m_options;
    const format::VariantLayout& m_layout;
    std::vector<Entry> m_nodes;                            ///< of the node pages that count
    std::map<std::uint64_t, std::set<Location>> m_blocks;  ///< by BID, of the block pages that count
    std::set<std::uint32_t> m_referenced;
    bool m_cryptIsTold = false;  ///< a heap is whole, its trailer too, so that the scan learns the encoding
};

}  // namespace pastille::tests
