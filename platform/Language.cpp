#include "platform/Language.h"

#include <unicode/uloc.h>

#include <array>
#include <cstdlib>

namespace pastille::platform {
namespace {

using LocaleName = std::array<char, ULOC_FULLNAME_CAPACITY>;
constexpr std::size_t kLongestPart = 9;

/// "language_COUNTRY", without code page and modifier and with the country that is likeliest; "" for none.
std::string Completed(const std::string& locale)
{
    const std::string name = locale.substr(0, locale.find_first_of(".@"));
    if (name.empty() || name == "C" || name == "POSIX" || name.size() >= ULOC_FULLNAME_CAPACITY)
        return {};
    LocaleName completed{};
    LocaleName part{};
    UErrorCode error = U_ZERO_ERROR;
    uloc_addLikelySubtags(name.c_str(), completed.data(), static_cast<int32_t>(completed.size()), &error);
    uloc_getLanguage(completed.data(), part.data(), static_cast<int32_t>(part.size()), &error);
    std::string result = part.data();
    uloc_getCountry(completed.data(), part.data(), static_cast<int32_t>(part.size()), &error);
    if (U_FAILURE(error) || result.empty() || part[0] == '\0')
        return {};
    return result + '_' + part.data();
}

}  // namespace

std::string LocaleFrom(std::initializer_list<const char*> variables)
{
    for (const char* variable : variables) {
        const char* value = std::getenv(variable);
        if (value != nullptr && *value != '\0')
            return value;
    }
    return {};
}

std::uint32_t LanguageIdentifier(const std::string& locale)
{
    const std::string name = Completed(locale);
    if (name.empty())
        return 0;
    const std::uint32_t identifier = uloc_getLCID(name.c_str());
    // The bits above count the language's countries; 0 is none of them.
    constexpr unsigned kLanguageBits = 10;
    if (identifier >> kLanguageBits != 0)
        return identifier;
    const std::string likeliest = Completed(name.substr(0, name.find('_')));
    return likeliest.empty() ? identifier : uloc_getLCID(likeliest.c_str());
}

std::string MessageLocale()
{
    const std::string locale = LocaleFrom({"LC_ALL", "LC_MESSAGES", "LANG"});
    const std::string languages = LocaleFrom({"LANGUAGE"});
    const std::string first = languages.substr(0, languages.find(':'));
    return first.empty() || Completed(locale).empty() ? locale : first;
}

std::string LanguageAndCountry(const std::string& locale)
{
    const std::string name = Completed(locale);
    if (name.empty())
        return "en-US";
    const std::size_t separator = name.find('_');
    return name.substr(0, separator).substr(0, kLongestPart) + '-' + name.substr(separator + 1, kLongestPart);
}

}  // namespace pastille::platform
