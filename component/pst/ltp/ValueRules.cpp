#include "component/pst/ltp/ValueRules.h"

#include <algorithm>
#include <cstddef>

#include "component/pst/ndb/DataTree.h"
#include "format/PropertyContext.h"

namespace pastille::component::pst {
namespace {

using format::PropertyType;

/// The largest multi-value in a tree that is read for its offsets; a larger one is taken as it is.
constexpr std::uint64_t kLargestMultiple = 16u << 20;

/// Bytes of one character of a string or of a list of strings, else 1.
std::size_t CharacterSize(PropertyType type)
{
    return type == PropertyType::String || type == PropertyType::MultipleString ? 2 : 1;
}

bool IsListOfVaryingLength(PropertyType type)
{
    return type == PropertyType::MultipleString || type == PropertyType::MultipleString8 ||
           type == PropertyType::MultipleBinary;
}

bool IsSoundList(PropertyType type, format::CByteView bytes)
{
    const auto elements = format::SplitMultiple(bytes);
    return elements && std::ranges::all_of(*elements, [type](format::CByteView element) {
               return element.Size() % CharacterSize(type) == 0;
           });
}

}  // namespace

bool IsSoundValue(INodeDatabase& database, const PropertyValue& value)
{
    const PropertyType type = value.tag.type;
    if (!format::IsKnownType(type))
        return false;
    const std::uint64_t size = value.Size();
    if (const std::size_t fixed = format::StorageRuleOf(type).fixedSize; fixed != 0)
        return !value.tree && size == fixed;
    if (const std::size_t element = format::MultipleElementSize(type); element != 0)
        return size % element == 0;
    if (!IsListOfVaryingLength(type))
        return size % CharacterSize(type) == 0;
    if (!value.tree)
        return IsSoundList(type, format::CByteView(value.bytes));
    if (size > kLargestMultiple)
        return true;
    const auto bytes = CDataTreeReader(database, value.tree->root).ReadAll();
    return IsSoundList(type, format::CByteView(bytes));
}

}  // namespace pastille::component::pst
