#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pastille::component::pst {

/// Entries with a unique key (Entry::Key()), kept sorted in little more than their own size. Adding at the
/// end is constant; adding elsewhere goes to a short sorted tail that is merged in when it has grown.
template <class Entry>
class CSortedList {
public:
    std::size_t Size() const { return m_body.size() + m_tail.size(); }

    /// The entry of a key, nullptr when there is none; valid until the next change.
    template <class Key>
    Entry* Find(Key key)
    {
        for (std::vector<Entry>* part : {&m_body, &m_tail}) {
            const auto at = LowerBound(*part, key);
            if (at != part->end() && at->Key() == key)
                return &*at;
        }
        return nullptr;
    }

    /// REQUIRES: no entry has that key.
    void Insert(const Entry& entry)
    {
        if (m_body.empty() || m_body.back().Key() < entry.Key()) {
            m_body.push_back(entry);
            return;
        }
        m_tail.insert(LowerBound(m_tail, entry.Key()), entry);
        if (m_tail.size() >= kLongestTail)
            Merge();
    }

    template <class Key>
    bool Erase(Key key)
    {
        for (std::vector<Entry>* part : {&m_body, &m_tail}) {
            const auto at = LowerBound(*part, key);
            if (at != part->end() && at->Key() == key) {
                part->erase(at);
                return true;
            }
        }
        return false;
    }

    /// Visits the entries with first <= key < end by rising key.
    template <class Key, class Visit>
    void VisitRange(Key first, Key end, Visit&& visit)
    {
        auto a = LowerBound(m_body, first);
        auto b = LowerBound(m_tail, first);
        const auto aEnd = LowerBound(m_body, end);
        const auto bEnd = LowerBound(m_tail, end);
        while (a != aEnd || b != bEnd)
            visit(b == bEnd || (a != aEnd && a->Key() < b->Key()) ? *a++ : *b++);
    }

    /// All entries by rising key.
    const std::vector<Entry>& Sorted()
    {
        Merge();
        return m_body;
    }

private:
    static constexpr std::size_t kLongestTail = 2048;

    template <class Key>
    static typename std::vector<Entry>::iterator LowerBound(std::vector<Entry>& part, Key key)
    {
        return std::lower_bound(part.begin(), part.end(), key,
                                [](const Entry& entry, Key wanted) { return entry.Key() < wanted; });
    }
    void Merge()
    {
        const auto middle = static_cast<std::ptrdiff_t>(m_body.size());
        m_body.insert(m_body.end(), m_tail.begin(), m_tail.end());
        m_tail.clear();
        std::inplace_merge(m_body.begin(), m_body.begin() + middle, m_body.end(),
                           [](const Entry& a, const Entry& b) { return a.Key() < b.Key(); });
    }

    std::vector<Entry> m_body;
    std::vector<Entry> m_tail;
};

}  // namespace pastille::component::pst
