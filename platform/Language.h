#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace pastille::platform {

/// The first of these environment variables that is set and not empty; "" when none is.
std::string LocaleFrom(std::initializer_list<const char*> variables);

/// The locale of the texts that the user wants to read: the first one of LANGUAGE, which counts only beside a
/// locale that is a language's, else that of LC_ALL, LC_MESSAGES or LANG. "" when there is none.
std::string MessageLocale();

/// Windows language identifier of a locale such as "fr_CA.UTF-8", here 0x0C0C. The country that is likeliest
/// for a language stands in where the name has none. A country that Windows has no identifier for
/// gets the one of its language. 0 when the name is no language's ("", "C", "POSIX").
std::uint32_t LanguageIdentifier(const std::string& locale);

/// ISO 639 language and ISO 3166 country of such a locale, as "fr-CA"; "en-US" when it is no language's. Each
/// is cut after 9 characters.
std::string LanguageAndCountry(const std::string& locale);

}  // namespace pastille::platform
