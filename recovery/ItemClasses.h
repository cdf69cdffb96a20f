#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "writer/Component.h"
#include "writer/FamilyWriter.h"

namespace pastille::recovery {

/// Families of items; each has its own interface of the component and its own property writer.
enum class ItemFamily : std::uint8_t { Mail, Contact, Task, Appointment, Meeting, Journal, Note };
inline constexpr std::size_t kItemFamilies = 7;

/// A message class whose items are routed by their kind and not by their folder alone.
struct ClassRule {
    std::u16string_view messageClass;
    std::int32_t defaultFolderKind;    ///< where a folder that is missing is made; 0: where the source has it
    std::optional<ItemFamily> family;  ///< none: not created under this rule
};

/// The rule of a class, compared exactly; nullptr when it has none.
const ClassRule* FindClassRule(std::u16string_view messageClass);

/// What is made of an item, by its message class alone.
struct ClassJudgement {
    enum class Fate : std::uint8_t {
        Known,    ///< in a table: an item of its family
        Unknown,  ///< in no table: a mail
        NoItem,   ///< in no table, but looks like the class of an item: it is not recovered
        Nothing,  ///< too short for a class
    };
    Fate fate;
    ItemFamily family = ItemFamily::Mail;  ///< of the item, when one is made
};
/// A class of the tables of families is compared exactly, one of mails without case.
ClassJudgement JudgeClass(std::u16string_view messageClass);

/// What the recovery of a family's items needs to know.
struct FamilyTraits {
    std::u16string_view logLabel;  ///< before the subject in the log
    /// The new object as an item of the family, empty when it has not the family's interface.
    writer::CRef<writer::IMessageItem> (*typed)(const writer::CRef<writer::IObject>& object);
    /// What stands in for an empty subject; nullptr when nothing does.
    const writer::ItemProperty* subjectStandIn;
    /// What is kept of the items; nullptr for mails, which have a writer of their own.
    const writer::FamilyTable* table;
};
const FamilyTraits& TraitsOf(ItemFamily family);

}  // namespace pastille::recovery
