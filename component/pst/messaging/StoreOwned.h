#pragma once

#include <cstdint>

namespace pastille::component::pst {

/// Kinds of objects that properties are set on from outside.
enum class ObjectKind { Message, Attachment, Recipient, Folder };

/// True of the properties that the store itself keeps for objects of that kind, or computes when it is asked
/// for them: row ids and versions, its own identifiers, sizes, counts. [MS-PST] 2.4.4 to 2.4.6, [MS-OXPROPS]
bool IsStoreOwned(ObjectKind kind, std::uint16_t id);

}  // namespace pastille::component::pst
