#include "component/pst/ndb/TreeImage.h"

#include "component/pst/ndb/NewStoreLayout.h"

#include <algorithm>
#include <array>
#include <limits>

namespace pastille::component::pst {
namespace {

constexpr std::uint64_t kNoKeyAbove = std::numeric_limits<std::uint64_t>::max();

/// Entries packed one behind the other, with their keys.
struct PackedEntries {
    std::vector<std::byte> bytes;
    std::vector<std::uint64_t> keys;
};

}  // namespace

/// What the update of one level leaves for the one above.
struct CTreeImage::Work {
    const PageStore& store;
    std::vector<std::uint64_t>& superseded;
    format::PageType tree;
    std::vector<std::uint32_t>
        starts;  ///< of each old page of the level, and of their end: place among the new

    /// Cuts entries into pages. At the tree's end they are filled, for more will follow; elsewhere each gets
    /// its share, so that the next entry between them finds room.
    void StorePages(const PackedEntries& entries, unsigned level, bool isAtEnd, Level& into) const
    {
        const std::size_t entrySize = format::TreeEntrySize(kLayout, tree, level);
        const std::size_t capacity = format::TreePageCapacity(kLayout, entrySize);
        const std::size_t total = entries.keys.size();
        const std::size_t pages = (total + capacity - 1) / capacity;
        for (std::size_t first = 0, number = 0; first < total; ++number) {
            const std::size_t left = total - first;
            const std::size_t count =
                isAtEnd ? std::min(capacity, left) : (left + pages - number - 1) / (pages - number);
            std::array<std::byte, kPageBytes> page{};
            std::copy_n(entries.bytes.begin() + static_cast<std::ptrdiff_t>(first * entrySize),
                        count * entrySize, page.begin());
            into.push_back(
                {entries.keys[first], store(page, level, count), static_cast<std::uint32_t>(count), true});
            first += count;
        }
    }
};

void CTreeImage::UpdateLeaves(std::span<const std::uint64_t> changed, const EntrySource& entries, Work& work)
{
    if (m_levels.empty())
        m_levels.emplace_back();
    const Level old = std::move(m_levels[0]);
    Level& fresh = m_levels[0] = {};
    fresh.reserve(old.size() + 1);
    const std::size_t entrySize = format::TreeEntrySize(kLayout, m_tree, 0);
    const auto rebuild = [&](std::uint64_t first, std::uint64_t end) {
        PackedEntries packed;
        entries(first, end, [&](std::uint64_t key) {
            packed.keys.push_back(key);
            packed.bytes.resize(packed.bytes.size() + entrySize);
            return std::span(packed.bytes).last(entrySize);
        });
        work.StorePages(packed, 0, end == kNoKeyAbove, fresh);
    };
    auto next = changed.begin();
    for (std::size_t i = 0; i < old.size(); ++i) {
        work.starts.push_back(static_cast<std::uint32_t>(fresh.size()));
        const std::uint64_t end = i + 1 < old.size() ? old[i + 1].firstKey : kNoKeyAbove;
        const auto behind = std::lower_bound(next, changed.end(), end);
        if (behind == next) {
            fresh.push_back(old[i]);
            fresh.back().isNew = false;
            continue;
        }
        next = behind;
        work.superseded.push_back(old[i].place.offset);
        rebuild(i == 0 ? 0 : old[i].firstKey, end);
    }
    if (old.empty())
        rebuild(0, kNoKeyAbove);
    work.starts.push_back(static_cast<std::uint32_t>(fresh.size()));
    if (fresh.empty()) {
        // The tree has nothing left: one leaf without entries.
        std::array<std::byte, kPageBytes> page{};
        fresh.push_back({0, work.store(page, 0, 0), 0, true});
    }
}

void CTreeImage::UpdateIndex(std::size_t level, Work& work)
{
    if (m_levels.size() == level)
        m_levels.emplace_back();
    const Level& children = m_levels[level - 1];
    const Level old = std::move(m_levels[level]);
    Level& fresh = m_levels[level] = {};
    const std::vector<std::uint32_t> childStarts = std::exchange(work.starts, {});
    const auto rebuild = [&](std::size_t first, std::size_t end) {
        PackedEntries packed;
        packed.bytes.resize((end - first) * kLayout.blockEntrySize);
        for (std::size_t i = first; i < end; ++i) {
            format::EncodeIndexEntry(kLayout, {children[i].firstKey, children[i].place},
                                     std::span(packed.bytes).subspan((i - first) * kLayout.blockEntrySize));
            packed.keys.push_back(children[i].firstKey);
        }
        work.StorePages(packed, static_cast<unsigned>(level), end == children.size(), fresh);
    };
    std::size_t child = 0;
    for (const Page& page : old) {
        work.starts.push_back(static_cast<std::uint32_t>(fresh.size()));
        const std::size_t first = childStarts[child];
        child += page.count;
        const std::size_t end = childStarts[child];
        const bool isSame =
            end - first == page.count && std::none_of(children.begin() + static_cast<std::ptrdiff_t>(first),
                                                      children.begin() + static_cast<std::ptrdiff_t>(end),
                                                      [](const Page& p) { return p.isNew; });
        if (isSame) {
            fresh.push_back(page);
            fresh.back().isNew = false;
            continue;
        }
        work.superseded.push_back(page.place.offset);
        rebuild(first, end);
    }
    if (old.empty())
        rebuild(0, children.size());
    work.starts.push_back(static_cast<std::uint32_t>(fresh.size()));
}

void CTreeImage::Update(std::span<const std::uint64_t> changed, const EntrySource& entries,
                        const PageStore& store, std::vector<std::uint64_t>& superseded)
{
    Work work{store, superseded, m_tree, {}};
    UpdateLeaves(changed, entries, work);
    std::size_t level = 1;
    for (; m_levels[level - 1].size() > 1; ++level)
        UpdateIndex(level, work);
    // A level above a single page is no longer needed.
    for (; m_levels.size() > level; m_levels.pop_back())
        for (const Page& page : m_levels.back())
            superseded.push_back(page.place.offset);
}

void CTreeImage::AppendPlaces(std::vector<std::uint64_t>& places) const
{
    for (const Level& level : m_levels)
        for (const Page& page : level)
            places.push_back(page.place.offset);
}

}  // namespace pastille::component::pst
