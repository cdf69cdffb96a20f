#pragma once

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/ndb/NodeDatabase.h"

namespace pastille::component::pst {

/// True when the bytes are a value of its type: the type is known, a value of a fixed size has that size,
/// strings consist of whole characters, and the elements of a multi-value lie inside of it. Values given as
/// trees are read from `database`, where that is needed. [MS-PST] 2.3.3.3, 2.3.3.4
bool IsSoundValue(INodeDatabase& database, const PropertyValue& value);

}  // namespace pastille::component::pst
