#pragma once

#include <cstdint>
#include <string>

#include "writer/PropertySource.h"

namespace pastille::writer {

/// Values that join into one text are kept apart by this.
inline constexpr char16_t kValueSeparator = u';';

/// A string value, or a multi-valued one joined at ";", from the item's heap block. "" for other types and
/// when the value fails a check.
std::u16string TextOf(const IPropertySource& source, const SourceProperty& property);

/// A PtypTime value as an OLE automation date. A value that is not exactly 8 bytes counts as FILETIME 0, that
/// is 1 January 1601; another type gives 0.0.
double DateOf(const IPropertySource& source, const SourceProperty& property);

/// The low half of the value word, which is a Boolean's or a 16-bit number's value.
constexpr std::int16_t FlagOf(const SourceProperty& property)
{
    return static_cast<std::int16_t>(property.value & 0xFFFF);
}

/// What a property is known by: for the file-local ids of named properties the long id behind them where the
/// source's map has one, else the id itself.
std::uint32_t TranslateId(const format::CNamedPropertyMap& names, std::uint16_t id);

/// A stored subject without the mark that tells the length of its prefix: U+0001 and one more character at its
/// start. [MS-PST] 2.5.3.1.1.1
std::u16string SubjectText(std::u16string stored);

}  // namespace pastille::writer
