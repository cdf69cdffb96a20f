#include "writer/FamilyWriter.h"

#include <algorithm>
#include <string>

#include "writer/ComError.h"
#include "writer/FamilyRows.h"
#include "writer/ValueConversion.h"

namespace pastille::writer {
namespace {

/// The rows that values of a type can meet.
constexpr FamilyValue LookupValueOf(std::uint16_t type)
{
    switch (static_cast<format::PropertyType>(type)) {
        case format::PropertyType::Boolean:
            return FamilyValue::Flag;
        case format::PropertyType::Integer32:
            return FamilyValue::Number;
        case format::PropertyType::Integer16:
            return FamilyValue::Number16;
        default:
            return FamilyValue::Text;
    }
}

const FamilyRow* FindRow(FamilyTable table, std::uint32_t id, FamilyValue lookupValue)
{
    const FamilyRow sought{id, lookupValue, nullptr};
    const auto found = std::ranges::lower_bound(table, sought, Precedes);
    return found == table.end() || Precedes(sought, *found) ? nullptr : &*found;
}

/// The first source property that fills a target wins.
void WriteText(IMessageItem& item, const ItemProperty& target, std::u16string_view text)
{
    if (item.GetText(target).empty())
        item.SetText(target, text);
}

/// A value of a type that has a text or is a date.
void WriteTextOrDate(IMessageItem& item, const FamilyRow& row, const SourceProperty& property,
                     const IPropertySource& source)
{
    std::u16string text = TextOf(source, property);
    if (row.target == &property::Subject)
        text = SubjectText(std::move(text));
    if (text.empty() && property.type != static_cast<std::uint16_t>(format::PropertyType::Time))
        return;
    if (row.value == FamilyValue::Date)
        item.SetDate(*row.target, DateOf(source, property));
    else
        WriteText(item, *row.target, text);
}

}  // namespace

void WriteFamilyProperty(FamilyTable table, const CRef<IMessageItem>& item, const SourceProperty& property,
                         IPropertySource& source)
{
    if (!item)
        throw _com_error(E_POINTER, IMessageItem::kInterfaceId);
    if (!source.PassesBoundsTest(property.value))
        return;
    const FamilyRow* row =
        FindRow(table, TranslateId(source.NamedProperties(), property.id), LookupValueOf(property.type));
    if (row == nullptr || (row->onlyInOst && !source.IsOst()))
        return;
    switch (row->value) {
        case FamilyValue::Flag:
            item->SetFlag(*row->target, FlagOf(property));
            break;
        case FamilyValue::Number:
            item->SetNumber(*row->target, static_cast<std::int32_t>(property.value));
            break;
        case FamilyValue::Number16:
            item->SetNumber(*row->target, FlagOf(property));
            break;
        case FamilyValue::Text:
        case FamilyValue::Date:
            WriteTextOrDate(*item, *row, property, source);
            break;
    }
}

}  // namespace pastille::writer
