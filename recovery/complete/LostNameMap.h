#pragma once

#include <optional>

#include "store/complete/SourceBlocks.h"

namespace pastille::recovery::complete {

/// The newest copy of the map of property names that lies in the source's blocks, for when no node tells of
/// one. Reads all blocks. `blocks` reads `source`.
std::optional<store::complete::NodeReference> FindLostNameMap(const store::complete::CScannedSource& source,
                                                              store::complete::CSourceBlocks& blocks);

}  // namespace pastille::recovery::complete
