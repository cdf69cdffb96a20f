#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "check/Database.h"
#include "check/Finding.h"

namespace pastille::check {

/// Where a check is: a node, or a subnode inside of `owner`. Its text is only made when there is a finding.
struct Place {
    std::uint32_t nid = 0;
    const Place* owner = nullptr;

    /// "node 0x200024, subnode 0x671", followed by `detail` when there is one.
    std::string Text(const std::string& detail = {}) const;
};

/// What the checks of everything above the node database share.
class CMessagingRun {
public:
    /// Both must outlive the run.
    CMessagingRun(CDatabase& database, IFindings& findings) : m_database(database), m_findings(findings) {}

    CDatabase& Database() { return m_database; }
    const format::VariantLayout& Layout() const { return m_database.Layout(); }
    /// False of the cache of a server mailbox, which lacks things that a PST has.
    bool IsPst() const { return m_database.Header().clientMagic != format::kClientMagicOst; }
    void Note(const Rule& rule, const Place& place, const std::string& detail = {},
              const std::string& figures = {})
    {
        m_findings.Add(rule, place.Text(detail), figures);
    }

    /// False when a tree of several blocks was visited before: its node is not checked once more, so that no
    /// file costs more time than it has blocks.
    bool IsFirstVisit(std::uint64_t bid);
    /// Data bytes of a data tree; nothing when it is broken.
    std::optional<std::uint64_t> DataSize(std::uint64_t bid);

    /// Takes from what may be read of values in subnodes, several times what a file holds that shares none of
    /// them. False, and one finding, when that is used up.
    bool TakeValueBytes(std::uint64_t count);

    /// Number of entries in the name map; nothing when it could not be read.
    std::optional<std::size_t> nameCount;

    void AddRowVersion(std::uint32_t version) { m_rowVersions.push_back(version); }
    /// Row versions are unique in the whole store and below dwUnique.
    void CheckRowVersions();

private:
    CDatabase& m_database;
    IFindings& m_findings;
    std::unordered_set<std::uint64_t> m_visited;                   ///< BIDs of internal blocks
    std::unordered_map<std::uint64_t, std::uint64_t> m_treeSizes;  ///< of trees of several blocks
    std::vector<std::uint32_t> m_rowVersions;
    std::uint64_t m_valueBytes = 0;  ///< read so far
    bool m_isBudgetNoted = false;
};

}  // namespace pastille::check
