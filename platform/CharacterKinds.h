#pragma once

namespace pastille::platform {

/// False for controls, unassigned code points, noncharacters and lone surrogates, as the host knows them.
bool IsTextCharacter(char32_t c);

}  // namespace pastille::platform
