#pragma once

#include <vector>

#include "format/Layout.h"
#include "store/BlockTable.h"
#include "store/OccupiedSpace.h"
#include "store/ScanFindings.h"
#include "store/TrailerSearch.h"

namespace pastille::store {

/// Brings what trailers tell into the table, to which everything that pages name was appended before, and
/// orders `trailers` by BID and place. Space that was freed and used again still holds old trailers, behind
/// bytes that belong to another block by now, so a trailer alone proves little. Of each BID the table gets,
/// ahead of what was appended:
/// - a block with the right signature and CRC, best one that pages name as well; in narrow files these were
///   appended already, and the table's own order decides;
/// - where there is none, a block with the right CRC that has moved, unless one of the first kind lies there;
/// - where nothing else is known of the BID, a damaged block, unless anything else lies there.
/// Nothing lies in `pages`, where sound pages stand.
void SettleStrayBlocks(const format::VariantLayout& layout, COccupiedSpace pages,
                       std::vector<TrailerBlock>& trailers, CBlockTable& blocks, ScanFindings& findings);

}  // namespace pastille::store
