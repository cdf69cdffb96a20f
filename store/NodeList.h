#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pastille::store {

/// One NBT entry, each value as its low 32 bits. [MS-PST] 2.2.2.7.7.4
struct NodeRecord {
    std::uint32_t nid;
    std::uint32_t bidData;
    std::uint32_t bidSub;  ///< 0: no subnodes
    std::uint32_t nidParent;
    std::uint64_t pageOffset;  ///< of the page that the entry stands in
    std::uint32_t pageBid;     ///< BID that this page gives itself, low half
    bool removed = false;      ///< taken out of the list by a later phase

    bool SameNode(const NodeRecord& other) const
    {
        return nid == other.nid && bidData == other.bidData && bidSub == other.bidSub &&
               nidParent == other.nidParent;
    }
};

/// The node table: ordered by bidSub, records with equal bidSub in the order in which they were found.
class CNodeList {
public:
    /// Adds a record as found. Order and dropping of repeats come with Finish.
    void Append(const NodeRecord& record) { m_records.push_back(record); }

    /// Puts the records into the list's order and drops each one that equals the record before it.
    void Finish();
    void Clear();

    std::size_t Size() const { return m_records.size(); }
    NodeRecord& operator[](std::size_t index) { return m_records[index]; }
    const NodeRecord& operator[](std::size_t index) const { return m_records[index]; }
    /// Takes a record out; indexes of the others stay. The caller skips removed records.
    void Remove(std::size_t index) { m_records[index].removed = true; }

    auto begin() const { return m_records.begin(); }
    auto end() const { return m_records.end(); }

private:
    std::vector<NodeRecord> m_records;
};

}  // namespace pastille::store
