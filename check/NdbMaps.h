#pragma once

#include <vector>

#include "check/NdbFile.h"

namespace pastille::check {

/// Compares the allocation maps with what pages and blocks use, and finds space that is used twice.
/// `isWhole`: both trees could be read, so that what nothing uses is really unused. [MS-PST] 2.2.2.7.2
/// to 2.2.2.7.6
void CheckMaps(const NdbFile& file, const std::vector<PageUse>& pages, CBlockTable& blocks, bool isWhole);

}  // namespace pastille::check
