#pragma once

#include <string_view>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/messaging/PstStore.h"

namespace pastille::component {

/// Adds to an item what other programs go by and what follows from its class and its other properties: the
/// icon, the times of calendar objects under their further names, the progress of a complete task. Nothing
/// that was set is replaced but the further names. Called whenever the item is written.
void CompleteItem(pst::CPstStore& store, std::u16string_view messageClass, pst::CPropertyBag& bag);

}  // namespace pastille::component
