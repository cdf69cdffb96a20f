#include <array>
#include <cstdio>

#include "platform/Host.h"

namespace pastille::platform {

std::string TimeText(const std::tm& time)
{
    static constexpr std::array kDays{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                      "Thursday", "Friday", "Saturday"};
    static constexpr std::array kMonths{"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%s, %s %02d, %d,%02d:%02d:%02d",
                  kDays.at(static_cast<std::size_t>(time.tm_wday)),
                  kMonths.at(static_cast<std::size_t>(time.tm_mon)), time.tm_mday, 1900 + time.tm_year,
                  time.tm_hour, time.tm_min, time.tm_sec);
    return text.data();
}

}  // namespace pastille::platform
