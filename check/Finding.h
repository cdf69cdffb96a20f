#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pastille::check {

/// How much a finding weighs.
enum class Severity {
    Error,    ///< breaks the format: some program will refuse the store, lose something or damage it later
    Warning,  ///< allowed, or mended by the next program that opens the store for writing
};

/// One thing that a sound store keeps. Rules are constants; findings point to them.
struct Rule {
    const char* code;  ///< stable name for programs, as "block-crc"
    Severity severity;
    const char* sentence;  ///< what is wrong, for people: one sentence
};

/// A rule broken at a place.
struct Finding {
    const Rule* rule;
    std::string place;   ///< as "node 0x8022, subnode 0x671" or "page 0x9200"
    std::string detail;  ///< figures, as "0x12 instead of 0x13"; may be empty
};

std::string Hex(std::uint64_t number);                             ///< "0x1F", for places and details
std::string Instead(std::uint64_t found, std::uint64_t expected);  ///< "0x1F instead of 0x20"

/// Takes what a check finds.
class IFindings {
public:
    virtual ~IFindings() = default;
    virtual void Add(const Rule& rule, std::string place, std::string detail = {}) = 0;
};

/// Keeps the first findings of each rule, and counts all.
class CFindings final : public IFindings {
public:
    static constexpr std::size_t kMostPerRule = 100;

    void Add(const Rule& rule, std::string place, std::string detail = {}) override;

    struct RuleCount {
        const Rule* rule;
        std::uint64_t count;
    };
    const std::vector<Finding>& Kept() const { return m_kept; }        ///< in order of discovery
    const std::vector<RuleCount>& Counts() const { return m_counts; }  ///< in order of first discovery
    std::uint64_t Count(Severity severity) const;

private:
    std::vector<Finding> m_kept;
    std::vector<RuleCount> m_counts;
};

}  // namespace pastille::check
