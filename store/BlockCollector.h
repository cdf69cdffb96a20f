#pragma once

#include <functional>
#include <vector>

#include "format/Layout.h"
#include "store/BlockTable.h"
#include "store/HeapProbe.h"
#include "store/ScanFindings.h"
#include "store/SourceFile.h"
#include "store/TrailerSearch.h"

namespace pastille::store {

/// Collects the entries of every page that looks like a BBT leaf into `blocks`, and from every page that is
/// not sound as a page the blocks whose trailers stand in it; the caller finishes the table. `proceed` is
/// asked after each 4096 bytes with the offset reached; false ends the scan. Returns false when it was ended
/// so. Raises std::system_error when the index cannot grow.
///
/// `trailers` gets what the trailers told, in order of BID and place.
bool ScanBlockPages(CSourceFile& source, const format::VariantLayout& layout, const BlockScanOptions& options,
                    CBlockTable& blocks, std::vector<TrailerBlock>& trailers, ScanFindings& findings,
                    const std::function<bool(std::uint64_t)>& proceed);

}  // namespace pastille::store
