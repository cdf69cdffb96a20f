#pragma once

#include <functional>
#include <optional>

#include "format/Layout.h"
#include "store/BlockReader.h"
#include "store/SourceFile.h"

namespace pastille::store {

/// What the client magic at offset 8 says the file is. Unknown also stands for address books, which are not
/// repaired.
FileKind ReadFileKind(CSourceFile& source);

/// Finds the variant by looking for a B-tree page whose trailer fits its own place: first as 512-byte pages
/// and the fullest 4 KB pages show themselves, then any 4 KB page, and by the header's root when there is
/// none. Nothing when neither tells. `proceed` is asked after each 4096 bytes with the offset reached and
/// ends the probe, with nothing found, when it returns false.
std::optional<format::Variant> ProbeVariant(CSourceFile& source,
                                            const std::function<bool(std::uint64_t)>& proceed);

/// The header fallback alone: never the 4 KB variant.
std::optional<format::Variant> VariantFromHeader(CSourceFile& source);

}  // namespace pastille::store
