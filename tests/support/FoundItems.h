#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "tests/support/StoreDescription.h"

namespace pastille::tests {

// What a reader finds in a store, value by value.

struct FoundValue {
    format::PropertyType type = format::PropertyType::Integer32;
    Bytes bytes{};  ///< as stored; of a value that lies in a tree of its own too
    friend bool operator==(const FoundValue&, const FoundValue&) = default;
};

using FoundValues = std::map<std::uint16_t, FoundValue>;

struct FoundItem;

struct FoundAttachment {
    FoundValues values{};    ///< of its property context and, where that lacks them, of its table row
    std::string fileName{};  ///< that pffexport gives it; of one by value
    Bytes data{};            ///< of one by value
    std::vector<FoundItem> embedded;  ///< none or one
};

struct FoundItem {
    std::string folder{};  ///< names from below the root, each after a "/"
    FoundValues values{};  ///< those of fixed ids
    /// The named ones. A reader that does not tell the property sets leaves them zero.
    std::map<StoreName, FoundValue> named{};
    std::vector<FoundAttachment> attachments{};

    // What pffexport makes of it.
    std::string kind{};                          ///< "Message", "Contact", "Appointment", ...
    std::map<std::string, std::string> lines{};  ///< of the form that it fills, by label
    std::map<std::string, Bytes> bodies{};       ///< by the extension of the body's file: .txt, .html, .rtf

    /// "" when there is no such line.
    std::string Line(const std::string& label) const;
    std::vector<const FoundAttachment*> Files() const;
    std::vector<const FoundItem*> Embedded() const;
};
void PrintTo(const FoundItem& item, std::ostream* out);

/// nullptr when the item has no such value.
const FoundValue* FindValue(const FoundItem& item, std::uint16_t id);
const FoundValue* FindValue(const FoundItem& item, const StoreName& name);
/// "" when there is none.
std::u16string TextValue(const FoundValues& values, std::uint16_t id);
/// 0 when there is none. Of values up to 64 bits.
std::uint64_t NumberValue(const FoundValues& values, std::uint16_t id);

/// The items of that class, and of all of them when it is empty, in the order of their subjects.
std::vector<const FoundItem*> OfClass(const std::vector<FoundItem>& items, std::u16string_view messageClass);
/// The only item of that subject; nullptr when there is none or more than one.
const FoundItem* OfSubject(const std::vector<FoundItem>& items, std::u16string_view subject);

}  // namespace pastille::tests
