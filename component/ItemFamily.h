#pragma once

#include <cstdint>
#include <string_view>

namespace pastille::component {

/// The families of items; each has an interface of its own.
enum class ItemFamily { Mail, Contact, Task, Appointment, Meeting, Journal, Note };

/// The family of a message class. Classes are compared exactly; those of no other family are mails.
ItemFamily FamilyOf(std::u16string_view messageClass);

/// PidTagMessageFlags of a new item. Mails start unread and unsent; the others are read from the start and
/// no drafts.
std::uint32_t FirstFlagsOf(ItemFamily family);

}  // namespace pastille::component
