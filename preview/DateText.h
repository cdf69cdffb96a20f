#pragma once

#include <string>

namespace pastille::preview {

/// An OLE automation date as windows show it: month/day/year without leading zeros, in UTC. "" for
/// writer::kNoDate and for what no calendar date stands for.
std::u16string DateText(double date);

}  // namespace pastille::preview
