#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "component/pst/ltp/PropertyBag.h"
#include "component/pst/messaging/PstStore.h"
#include "writer/ItemProperties.h"

namespace pastille::component {

// Values of items between the forms in which they cross the component's border and in which the file keeps
// them. The types stored are those of the descriptor; a value read may be of any type.

/// Writes a text into the store; one that is long goes there piece by piece. Nothing for an empty text: an
/// item that lacks the property reads back the same. `codePage`: of 8-bit HTML, one that CodePageName knows.
std::optional<pst::PropertyValue> StoreText(pst::CPstStore& store, const writer::ItemProperty& property,
                                            std::uint16_t id, std::u16string_view text,
                                            std::uint32_t codePage);
/// Numbers of the code pages that an item states, 0: none.
struct ItemCodePages {
    std::uint32_t html = 0;  ///< PidTagInternetCodepage; UTF-8 when it is unknown
    std::uint32_t text = 0;  ///< PidTagMessageCodepage, of 8-bit strings; the store's when it is unknown
};
std::u16string LoadText(pst::CStringReader& strings, const writer::ItemProperty& property,
                        const pst::PropertyValue& value, const ItemCodePages& codePages);

/// Nothing for kNoDate and for dates that the file cannot hold.
std::optional<pst::PropertyValue> StoreDate(std::uint16_t id, double date);
double LoadDate(const pst::PropertyValue& value);

/// Flags and numbers.
pst::PropertyValue StoreNumber(const writer::ItemProperty& property, std::uint16_t id, std::int32_t number);
std::int32_t LoadNumber(const pst::PropertyValue& value);

/// Code page of HTML bodies whose own one is not known.
inline constexpr std::uint32_t kUtf8CodePage = 65001;

}  // namespace pastille::component
