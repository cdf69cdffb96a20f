#include "recovery/AttachmentName.h"

#include <algorithm>

#include "platform/Text.h"

namespace pastille::recovery {
namespace {

constexpr std::u16string_view kSeparators = u"\\/:*?<>|\"";

bool IsSeparator(char16_t unit)
{
    return kSeparators.find(unit) != std::u16string_view::npos;
}

bool IsControl(char16_t unit)
{
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

/// COM1 to COM9 and LPT1 to LPT9; hosts also take the superscript digits one to three.
bool IsPortName(std::u16string_view stem)
{
    constexpr std::size_t kPortNameUnits = 4;
    constexpr std::u16string_view kDigits = u"123456789\u00B9\u00B2\u00B3";
    if (stem.size() != kPortNameUnits || kDigits.find(stem.back()) == std::u16string_view::npos)
        return false;
    const std::u16string_view kind = stem.substr(0, kPortNameUnits - 1);
    return platform::EqualsNoCase(kind, u"COM") || platform::EqualsNoCase(kind, u"LPT");
}

bool IsDeviceName(std::u16string_view name)
{
    static constexpr std::u16string_view kDevices[] = {u"CON",    u"PRN",     u"AUX",   u"NUL",
                                                       u"CONIN$", u"CONOUT$", u"CLOCK$"};
    std::u16string_view stem = name.substr(0, name.find(u'.'));
    while (!stem.empty() && stem.back() == u' ')
        stem.remove_suffix(1);
    return IsPortName(stem) || std::ranges::any_of(kDevices, [&](std::u16string_view device) {
               return platform::EqualsNoCase(device, stem);
           });
}

}  // namespace

std::u16string WithoutSeparators(std::u16string_view displayName)
{
    std::u16string name(displayName);
    std::ranges::replace_if(name, IsSeparator, u' ');
    return name;
}

bool IsFileName(std::u16string_view name)
{
    constexpr std::size_t kLongestName = 255;
    if (name.size() > kLongestName || name.find_first_not_of(u". ") == std::u16string_view::npos)
        return false;
    return std::ranges::none_of(name, IsControl) && std::ranges::none_of(name, IsSeparator) &&
           !IsDeviceName(name);
}

}  // namespace pastille::recovery
