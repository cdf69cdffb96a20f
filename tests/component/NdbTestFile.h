#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "component/pst/ndb/NdbReader.h"
#include "component/pst/ndb/NdbWriter.h"
#include "tests/support/StoreDescription.h"
#include "tests/support/StoreFindings.h"

namespace pastille::tests {

/// `size` bytes that differ from block to block and from byte to byte.
inline Bytes Pattern(std::size_t size, unsigned seed = 0)
{
    return FixedBytes(0x9E3779B9u * (seed + 1), size);
}

/// A node id of a message.
inline format::Nid MessageNid(std::uint32_t number)
{
    return format::Nid::Make(format::NidType::NormalMessage, 0x10001 + number);
}

}  // namespace pastille::tests
