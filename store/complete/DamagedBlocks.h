#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "format/Layout.h"
#include "store/OccupiedSpace.h"
#include "store/SourceFile.h"
#include "store/complete/BlockIndex.h"
#include "store/complete/TreePages.h"

namespace pastille::store::complete {

/// What a scan has met that may tell of blocks with wrong bytes.
struct BlockTraces {
    std::vector<TreePage> leaves;       ///< BBT leaf pages
    std::vector<BlockRecord> trailers;  ///< blocks whose trailer is at home and whose CRC is wrong
    COccupiedSpace occupied;            ///< where sound blocks and pages lie that are at home; finished
};

/// Adds to `blocks`, which is finished and is so again then, a place for each BID that has no sound block:
/// the one that the newest page tells of, else that of a trailer. Places that something sound lies in by now
/// are left out. Where the bytes of a file have moved, so have the places that its pages tell. False when
/// `proceed` returned false.
bool AddDamagedBlocks(CSourceFile& source, const format::VariantLayout& layout, BlockTraces traces,
                      CBlockIndex& blocks, const std::function<bool()>& proceed);

}  // namespace pastille::store::complete
