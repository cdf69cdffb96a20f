#pragma once

#include <cstdint>
#include <string>

namespace pastille::platform {

constexpr std::uint32_t kUtf8Page = 65001;
constexpr std::uint32_t kAsciiPage = 20127;

/// Number, one of kPages, of the code page that a name stands for (CCodePage tells which names there are); 0 when
/// the name is unknown. Pages with shift states are US-ASCII.
std::uint32_t NumberOfName(const std::string& name);

}  // namespace pastille::platform
