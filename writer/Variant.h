#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace pastille::writer {

/// An argument left out.
struct Missing {
    friend bool operator==(Missing, Missing) = default;
};
/// An argument that is there and holds nothing.
struct Empty {
    friend bool operator==(Empty, Empty) = default;
};

/// An argument of changing type: left out, empty, a whole number, or text.
using Variant = std::variant<Missing, Empty, std::int32_t, std::u16string>;

}  // namespace pastille::writer
