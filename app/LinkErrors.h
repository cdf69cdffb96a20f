#pragma once

#include <string_view>

namespace pastille::app {

/// What the user is told when a link could not be opened, by the result of IHost::Open (32 and less). Empty
/// for results about which nothing is said.
std::u16string_view LinkErrorText(int result);

}  // namespace pastille::app
