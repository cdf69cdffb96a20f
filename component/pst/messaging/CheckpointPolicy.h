#pragma once

#include <chrono>
#include <cstdint>

namespace pastille::component::pst {

/// How much of what was saved may be lost when the process or the power dies: a checkpoint is made when this
/// much has been written, or this much time has passed, since the last one.
struct CheckpointPolicy {
    std::uint64_t bytes = std::uint64_t{64} << 20;
    std::chrono::milliseconds time{2000};
};

}  // namespace pastille::component::pst
