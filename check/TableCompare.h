#pragma once

#include <cstdint>
#include <span>

#include "check/Finding.h"
#include "check/PropertyCheck.h"
#include "check/TableCheck.h"

namespace pastille::check {

/// How rows of a kind of table are compared with the objects they stand for.
struct RowRules {
    const Rule& different;                    ///< a cell and the property of the object are not the same
    const Rule& stale;                        ///< the same, of the ids below, or only one of both is there
    std::span<const std::uint16_t> computed;  ///< ids that clients compute or bring up to date later
};

/// Compares a row with its object in all columns but row id and version. At most one finding of each rule.
void CompareRow(CTable& table, const TableRow& row, const CPropertyContext& object, const RowRules& rowRules);

}  // namespace pastille::check
