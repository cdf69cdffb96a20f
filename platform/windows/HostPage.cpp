#include "platform/windows/HostPage.h"

#include <algorithm>
#include <array>

#include "platform/windows/Win32.h"

namespace pastille::platform {
namespace {

bool HasTwoBytesAtMost(std::uint32_t number)
{
    CPINFO info{};
    return ::IsValidCodePage(number) && ::GetCPInfo(number, &info) && info.MaxCharSize <= 2;
}

}  // namespace

std::uint32_t HostPage(std::uint32_t number)
{
    struct Substitute {
        std::uint32_t number, host;
    };
    // Pages that the host has by another number, or as the larger set around them.
    constexpr std::array kSubstitutes{
        Substitute{kEucJapanesePage, 20932},
        Substitute{51949, 949},
        Substitute{51936, 936},
        Substitute{20936, 936},
        Substitute{28601, 874},
        Substitute{38598, 28598},
        Substitute{kGb18030Page, 936},
    };
    const auto* const found = std::ranges::find(kSubstitutes, number, &Substitute::number);
    const std::uint32_t host = found == kSubstitutes.end() ? number : found->host;
    // The numbers below 37 stand for pages of this user, those from 57002 for pages with shift states.
    return host >= 37 && host != 42 && host < 57002 && HasTwoBytesAtMost(host) ? host : 0;
}

}  // namespace pastille::platform
