#include "check/Finding.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace pastille::check {

std::string Hex(std::uint64_t number)
{
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), number, 16).ptr;
    std::string text = "0x";
    for (auto at = digits.begin(); at != end; ++at)
        text += static_cast<char>(*at >= 'a' ? *at - 'a' + 'A' : *at);
    return text;
}

std::string Instead(std::uint64_t found, std::uint64_t expected)
{
    return Hex(found) + " instead of " + Hex(expected);
}

void CFindings::Add(const Rule& rule, std::string place, std::string detail)
{
    auto count = std::ranges::find(m_counts, &rule, &RuleCount::rule);
    if (count == m_counts.end())
        count = m_counts.insert(m_counts.end(), {&rule, 0});
    if (++count->count <= kMostPerRule)
        m_kept.push_back({&rule, std::move(place), std::move(detail)});
}

std::uint64_t CFindings::Count(Severity severity) const
{
    std::uint64_t total = 0;
    for (const RuleCount& count : m_counts)
        if (count.rule->severity == severity)
            total += count.count;
    return total;
}

}  // namespace pastille::check
