#pragma once

#include <cstdint>
#include <string>

namespace pastille::platform {

constexpr std::uint32_t kUtf8Page = 65001;
constexpr std::uint32_t kAsciiPage = 20127;
constexpr std::uint32_t kEucJapanesePage = 51932;
constexpr std::uint32_t kGb18030Page = 54936;

/// Number of the code page of a name, whatever its case and separators, such as "cp1252", "ISO-8859-1" or
/// "shift_jis"; 0 when the name is unknown.
std::uint32_t NumberOfName(const std::string& name);

/// The host's page of one- and two-byte sequences that a page is made of, mostly itself; 0 when the host has
/// none. Not for UTF-8.
std::uint32_t HostPage(std::uint32_t number);

}  // namespace pastille::platform
