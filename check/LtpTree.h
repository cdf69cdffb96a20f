#pragma once

#include <cstdint>
#include <functional>

#include "check/HeapNode.h"

namespace pastille::check {

/// What a BTH's header says. [MS-PST] 2.3.2.1
struct BthShape {
    std::size_t keySize = 0;
    std::size_t dataSize = 0;
};

/// One record of a BTH, valid during the visit. Keys of up to 8 bytes as a number.
struct LtpRecord {
    std::uint64_t key;
    format::CByteView data;
};

/// Checks the BTH whose header is allocation `hidHeader` and visits its records in stored order. Each array
/// is visited once. `shape` is called first and decides whether to go on. [MS-PST] 2.3.2
void CheckBth(CHeapNode& node, std::uint32_t hidHeader, const std::function<bool(const BthShape&)>& shape,
              const std::function<void(const LtpRecord&)>& visit);

}  // namespace pastille::check
