#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace pastille::platform {

/// The first of these environment variables that is set and not empty; "" when none is.
std::string LocaleFrom(std::initializer_list<const char*> variables);

/// Windows language identifier of a locale such as "fr_CA.UTF-8", here 0x0C0C. The country that is likeliest
/// for a language stands in where the name has none. 0 when the name is no language's ("", "C", "POSIX").
std::uint32_t LanguageIdentifier(const std::string& locale);

/// ISO 639 language and ISO 3166 country of such a locale, as "fr-CA"; "en-US" when it is no language's. Each
/// is cut after 9 characters.
std::string LanguageAndCountry(const std::string& locale);

}  // namespace pastille::platform
