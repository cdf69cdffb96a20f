#pragma once

#include <cstdint>

namespace pastille::app {

struct Language {
    const char* name;          ///< of its file in Lang/, without the ending
    const char* abbreviation;  ///< two capital letters
};

/// The language for a Windows language identifier; English for those of no other one.
Language LanguageOf(std::uint32_t identifier);

}  // namespace pastille::app
