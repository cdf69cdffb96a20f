#pragma once

#include <optional>

#include "format/Crypt.h"
#include "store/complete/CompleteScan.h"

namespace pastille::store::complete {

/// The crypt method under which most of the nodes' data blocks begin a heap; `announced`, what the header
/// says, when they tell nothing or as much for it as for another. REQUIRES: all but the method is known.
format::CryptMethod ChooseCryptMethod(CScannedSource& source, std::optional<format::CryptMethod> announced);

}  // namespace pastille::store::complete
