#pragma once

#include <functional>

#include "format/Layout.h"
#include "store/NodeList.h"
#include "store/ScanFindings.h"
#include "store/SourceFile.h"

namespace pastille::store {

/// Where a scan of a variant's B-tree pages begins: the pages before are never tree pages.
constexpr std::uint64_t ScanStart(format::Variant variant)
{
    return variant == format::Variant::Unicode4k ? 147456 : 18432;
}

/// Collects the entries of every page that looks like an NBT page into `nodes`, in file order, whatever the
/// tree's own links say; the caller finishes the list. Adds what it met to `findings`. `proceed` is asked
/// after each chunk with the offset reached; false ends the scan. Returns false when it was ended so.
bool ScanNodePages(CSourceFile& source, const format::VariantLayout& layout, CNodeList& nodes,
                   PageFindings& findings, const std::function<bool(std::uint64_t)>& proceed);

}  // namespace pastille::store
