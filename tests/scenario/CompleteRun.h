#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/scenario/Repair.h"
#include "tests/support/WholeStore.h"

namespace pastille::tests {

struct CompleteOptions {
    bool smartScan = false;
    std::optional<platform::SourceKind> kind{};
};

/// A complete recovery of a file, run to its end, and what came of it. Expects on the way that it ends well,
/// that the checker finds no error in the new store, that the report is there, and that the report's sums
/// agree with each other and with what the new store holds.
class CCompleteRun {
public:
    CCompleteRun(const Bytes& source, const CompleteOptions& options);

    const WholeStore& Store() const { return m_store; }
    const nlohmann::json& Report() const { return m_report; }
    CRepair& Repair() { return m_repair; }

    /// Losses of an item, by its node or its subject.
    std::vector<nlohmann::json> LossesOf(std::uint32_t nid, std::string_view subject) const;
    /// Losses of a kind, of all items and folders.
    std::vector<nlohmann::json> LossesOf(std::string_view what) const;
    /// Items of that subject, and the path of the folder of the last one.
    std::vector<const WholeMessage*> ItemsOf(std::u16string_view subject,
                                             std::string* folder = nullptr) const;

private:
    void CheckReport() const;

    CRepair m_repair;
    WholeStore m_store;
    nlohmann::json m_report;
};

}  // namespace pastille::tests
