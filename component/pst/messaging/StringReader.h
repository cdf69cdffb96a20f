#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "component/pst/ltp/PropertyBag.h"
#include "platform/Text.h"

namespace pastille::component::pst {

/// The texts of string values. Those of 8 bits are in a code page: the one that their object states, else the
/// store's. For one thread at a time.
class CStringReader {
public:
    /// `codePage`: the store's. Raises std::invalid_argument when the name is unknown.
    explicit CStringReader(const std::string& codePage) : m_codePage(codePage) {}

    /// The text of a string, or of several joined with ";"; nothing when the value is none. `stated`: number
    /// of the object's code page, 0 or one that is unknown: the store's.
    std::optional<std::u16string> Read(const PropertyValue& value, std::uint32_t stated = 0);

private:
    const platform::CCodePage& PageOf(std::uint32_t stated);
    std::u16string Narrow(std::span<const std::byte> bytes, std::uint32_t stated);

    platform::CCodePage m_codePage;
    std::map<std::uint32_t, platform::CCodePage> m_stated;
};

}  // namespace pastille::component::pst
