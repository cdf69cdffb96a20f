#include "component/pst/messaging/LongValues.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "component/pst/messaging/StoreError.h"
#include "format/Heap.h"

namespace pastille::component::pst {
namespace {

constexpr std::uint64_t kLargestValue = std::numeric_limits<std::int32_t>::max();

StoredTree WriteTree(CNdbWriter& writer, std::span<const std::byte> bytes)
{
    CDataTreeWriter tree(writer);
    tree.Append(bytes);
    const auto size = tree.Size();
    return {tree.Finish(), size};
}

}  // namespace

void CLongValueWriter::Append(std::span<const std::byte> bytes)
{
    if (bytes.size() > kLargestValue - Size())
        throw CStoreError(Refusal::TooLarge);
    if (!m_tree && m_start.size() + bytes.size() > format::kLargestHeapItem) {
        m_tree.emplace(m_writer);
        m_tree->Append(m_start);
        std::vector<std::byte>().swap(m_start);
    }
    if (m_tree)
        m_tree->Append(bytes);
    else
        m_start.insert(m_start.end(), bytes.begin(), bytes.end());
}

PropertyValue CLongValueWriter::Finish(format::PropertyTag tag)
{
    if (!m_tree)
        return {tag, std::move(m_start), std::nullopt};
    const auto size = m_tree->Size();
    return TreeValue(tag, {m_tree->Finish(), size});
}

void StoreLongValues(CNdbWriter& writer, CPropertyBag& bag)
{
    std::vector<PropertyValue> stored;
    for (const PropertyValue& value : bag.Values())
        if (!value.tree && value.bytes.size() > format::kLargestHeapItem)
            stored.push_back(TreeValue(value.tag, WriteTree(writer, value.bytes)));
    for (PropertyValue& value : stored)
        bag.Set(std::move(value));
}

std::uint64_t SizeOfTrees(const CPropertyBag& bag)
{
    std::uint64_t size = 0;
    for (const PropertyValue& value : bag.Values())
        size += value.tree ? value.tree->size : 0;
    return size;
}

std::uint32_t SizeValue(std::uint64_t size)
{
    return static_cast<std::uint32_t>(std::min(size, kLargestValue));
}

}  // namespace pastille::component::pst
