#pragma once

#include <cstdint>

namespace pastille::platform {

constexpr std::uint32_t kEucJapanesePage = 51932;
constexpr std::uint32_t kGb18030Page = 54936;

/// The host's page of one- and two-byte sequences that a page is made of, mostly itself; 0 when the host has
/// none. Not for UTF-8.
std::uint32_t HostPage(std::uint32_t number);

}  // namespace pastille::platform
