#pragma once

#include <cstdint>
#include <string_view>

namespace pastille::component {

/// The families of items; each has an interface of its own.
enum class ItemFamily { Mail, Contact, Task, Appointment, Meeting, Journal, Note };

/// The family of a message class. Classes are compared exactly; those of no other family are mails.
ItemFamily FamilyOf(std::u16string_view messageClass);

/// PidTagMessageFlags of a new item. Mails start unread and unsent; items that are not sent to anyone are
/// read from the start; meeting messages are read and sent.
std::uint32_t FirstFlagsOf(ItemFamily family);

}  // namespace pastille::component
