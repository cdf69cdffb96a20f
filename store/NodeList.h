#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pastille::store {

/// One NBT entry, each value as its low 32 bits. 20 bytes: a scan of a hostile file finds many millions.
/// [MS-PST] 2.2.2.7.7.4
struct NodeRecord {
    std::uint32_t nid;
    std::uint32_t bidData;
    std::uint32_t bidSub;  ///< 0: no subnodes
    std::uint32_t nidParent;
    std::uint32_t page : 31;        ///< the page that the entry stands in, as CNodeList numbers it
    std::uint32_t removed : 1 = 0;  ///< taken out of the list by a later phase

    bool SameNode(const NodeRecord& other) const
    {
        return nid == other.nid && bidData == other.bidData && bidSub == other.bidSub &&
               nidParent == other.nidParent;
    }
};

/// A page that entries came from. 12 bytes.
struct NodePage {
    std::uint64_t Offset() const { return std::uint64_t{offsetHigh} << 32 | offsetLow; }

    std::uint32_t offsetLow, offsetHigh;  ///< file offset
    std::uint32_t bid;                    ///< that the page gives itself, low half
};

/// The node table: ordered by bidSub, records with equal bidSub in the order in which they were found.
class CNodeList {
public:
    /// Begins the entries of a page.
    void AddPage(std::uint64_t offset, std::uint32_t bid);
    /// Adds an entry of the page begun last. Order and dropping of repeats come with Finish.
    void Append(std::uint32_t nid, std::uint32_t bidData, std::uint32_t bidSub, std::uint32_t nidParent);

    /// Adds the pages and records of another list that is not finished either.
    void Append(const CNodeList& other);

    /// Puts the records into the list's order and drops each one that equals the record before it.
    void Finish();
    void Clear();

    std::size_t Size() const { return m_records.size(); }
    const NodeRecord& operator[](std::size_t index) const { return m_records[index]; }
    const NodePage& PageOf(const NodeRecord& record) const { return m_pages[record.page]; }
    /// Takes a record out; indexes of the others stay. The caller skips removed records.
    void Remove(std::size_t index) { m_records[index].removed = 1; }

    auto begin() const { return m_records.begin(); }
    auto end() const { return m_records.end(); }

private:
    std::vector<NodeRecord> m_records;
    std::vector<NodePage> m_pages;
};

}  // namespace pastille::store
