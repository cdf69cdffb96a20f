#pragma once

#include <cstdint>

namespace pastille::store {

/// Pages of one B-tree as a scan found them, wherever they lie: a page counts when its trailer says that
/// type.
struct PageFindings {
    std::uint64_t accepted = 0;        ///< leaves whose entries were taken
    std::uint64_t wrongSignature = 0;  ///< of the accepted ones, those taken in spite of a wrong signature
    std::uint64_t index = 0;           ///< inner pages with a right signature; the trees are not followed
    std::uint64_t entries = 0;         ///< taken from pages, repeats included
    std::uint64_t entriesRefused = 0;  ///< whose fields cannot be true

    // Pages that were not accepted, by the first reason.
    std::uint64_t refusedEntrySize = 0;
    std::uint64_t refusedSignature = 0;
    std::uint64_t refusedCounts = 0;

    std::uint64_t Refused() const { return refusedEntrySize + refusedSignature + refusedCounts; }

    void Add(const PageFindings& other)
    {
        accepted += other.accepted;
        wrongSignature += other.wrongSignature;
        index += other.index;
        entries += other.entries;
        entriesRefused += other.entriesRefused;
        refusedEntrySize += other.refusedEntrySize;
        refusedSignature += other.refusedSignature;
        refusedCounts += other.refusedCounts;
    }
};

/// What the two scans of a run have met.
struct ScanFindings {
    PageFindings nodePages;
    PageFindings blockPages;
    std::uint64_t strayBlocks = 0;     ///< blocks known by their trailers alone: no page names them
    std::uint64_t doubtfulBlocks = 0;  ///< of these, those whose bytes differ from their trailer's CRC
};

}  // namespace pastille::store
