#pragma once

#include <functional>

#include "format/Layout.h"
#include "store/BlockTable.h"
#include "store/SourceFile.h"

namespace pastille::store {

/// Collects the entries of every page that looks like a BBT leaf into `blocks`, and from every other page the
/// blocks whose trailers stand in it. `proceed` is asked after each 4096 bytes with the offset reached; false
/// ends the scan. Returns false when it was ended so. Raises std::system_error when the index cannot grow.
bool ScanBlockPages(CSourceFile& source, const format::VariantLayout& layout, CBlockTable& blocks,
                    const std::function<bool(std::uint64_t)>& proceed);

}  // namespace pastille::store
