#pragma once

#include <cstdint>
#include <string>

#include "recovery/complete/ItemText.h"
#include "store/complete/FoundTable.h"

namespace pastille::recovery::complete {

/// A text of an object or row, whatever its width; "" when it has none or it is no text. Long ones are cut.
std::u16string TextOf(store::complete::CFoundObject& object, std::uint16_t id, const CItemText& text);
std::u16string TextOf(store::complete::CFoundTable& table, const store::complete::FoundRow& row,
                      std::uint16_t id, const CItemText& text);
/// A subject without the two characters that tell the length of its prefix. [MS-PST] 2.5.3.1.1.1
std::u16string WithoutPrefixMark(std::u16string subject);

}  // namespace pastille::recovery::complete
