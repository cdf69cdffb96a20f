#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "tests/support/StoreDescription.h"

namespace pastille::tests {

/// One value that an item of the new store must have, at its place there.
struct ExpectedValue {
    std::uint16_t id = 0;  ///< of a property with a fixed id
    StoreName name{};      ///< of a named one, when `id` is 0
    format::PropertyType type = format::PropertyType::Integer32;
    Bytes value{};        ///< as stored
    bool isLost = false;  ///< the item must have any other value there, or none
};
void PrintTo(const ExpectedValue& value, std::ostream* out);

/// An item with a value in everything that its family keeps, every value another one.
struct FamilySample {
    StoreMessage message;
    std::vector<ExpectedValue> expected;
};

struct FamilyOptions {
    /// Chooses the properties, by their number, that get a type that their row does not take.
    std::function<bool(std::size_t number)> isWrong{};
    /// Given to those properties instead, beside the right type.
    std::optional<std::uint32_t> wrongHnid{};
    bool isOst = false;
    /// Leaves out the property that comes before another one with the same target, and the body.
    bool withoutRivals = false;
};

/// The message classes of every family but the mails.
std::vector<std::u16string_view> FamilyClasses();
/// Name of the folder that a mail client keeps such items in.
std::u16string FamilyFolder(std::u16string_view messageClass);
/// REQUIRES: a class that FamilyClasses() names.
FamilySample MakeFamilySample(std::u16string_view messageClass, const FamilyOptions& options = {});

/// A mail with all that mails keep besides bodies and attachments. Replied to, or else forwarded.
FamilySample MakeMailSample(bool replied);

/// A store with a sample of every class, in the folders of their families, and two mails.
struct FamilyStore {
    StoreDescription description;
    std::vector<FamilySample> samples;
};
FamilyStore MakeFamilyStore(format::Variant variant, const FamilyOptions& options = {});

}  // namespace pastille::tests
