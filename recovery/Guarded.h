#pragma once

#include <exception>

#include "writer/ComError.h"

namespace pastille::recovery {

/// Does a step of an item's recovery: whatever the item does to this program costs that step and no other.
/// Raises _com_error only when the file below the store cannot be written. False when the step failed.
template <class Step>
bool Guarded(Step step)
try {
    step();
    return true;
} catch (const writer::_com_error& error) {
    if (error.IsStorageFailure())
        throw;
    return false;
} catch (const std::exception&) {
    return false;
}

}  // namespace pastille::recovery
