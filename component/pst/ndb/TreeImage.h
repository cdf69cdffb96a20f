#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "format/Header.h"
#include "format/Page.h"

namespace pastille::component::pst {

/// Where the pages of one B-tree stand in the file, so that after changes only the pages concerned and those
/// above them are written, at new places: the tree as it was stays readable. About 2 bytes for each entry of
/// the tree. [MS-PST] 2.2.2.7.7
class CTreeImage {
public:
    /// Takes an entry that is to stand in the tree: room for it under its key. Keys rise.
    using EntrySink = std::function<std::span<std::byte>(std::uint64_t key)>;
    /// Hands out the entries with first <= key < end as they are now.
    using EntrySource = std::function<void(std::uint64_t first, std::uint64_t end, const EntrySink&)>;
    /// Stores a page whose `count` entries stand at its start; returns where it went.
    using PageStore =
        std::function<format::BlockReference(std::span<std::byte> page, unsigned level, std::size_t count)>;

    explicit CTreeImage(format::PageType tree) : m_tree(tree) {}

    /// Brings the tree up to date where `changed` keys (rising, each once) came, went or got other entries.
    /// Adds the places of pages that are no longer part of it to `superseded`.
    void Update(std::span<const std::uint64_t> changed, const EntrySource& entries, const PageStore& store,
                std::vector<std::uint64_t>& superseded);

    /// REQUIRES: Update was called.
    const format::BlockReference& Root() const { return m_levels.back().front().place; }
    /// File offsets of all pages, added to `places`.
    void AppendPlaces(std::vector<std::uint64_t>& places) const;

private:
    struct Page {
        std::uint64_t firstKey;
        format::BlockReference place;
        std::uint32_t count;  ///< entries, or children
        bool isNew;
    };
    using Level = std::vector<Page>;
    struct Work;

    void UpdateLeaves(std::span<const std::uint64_t> changed, const EntrySource& entries, Work& work);
    void UpdateIndex(std::size_t level, Work& work);

    format::PageType m_tree;
    std::vector<Level> m_levels;  ///< leaves first; the last level has one page
};

}  // namespace pastille::component::pst
