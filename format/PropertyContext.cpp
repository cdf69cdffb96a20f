#include "format/PropertyContext.h"

#include "format/Bth.h"

namespace pastille::format {

PropertyStorageRule StorageRuleOf(PropertyType type)
{
    switch (type) {
        case PropertyType::Boolean:
            return {1, true, 1, true};
        case PropertyType::Integer16:
            return {2, true, 2, true};
        case PropertyType::Integer32:
        case PropertyType::Floating32:
        case PropertyType::ErrorCode:
            return {4, true, 4, true};
        case PropertyType::Floating64:
        case PropertyType::Currency:
        case PropertyType::FloatingTime:
        case PropertyType::Integer64:
        case PropertyType::Time:
            return {8, false, 8, true};
        case PropertyType::Object:
            return {8, false, 4, false};
        case PropertyType::Guid:
            return {16, false, 4, false};
        default:
            return {};
    }
}

bool IsKnownType(PropertyType type)
{
    switch (type) {
        case PropertyType::String8:
        case PropertyType::String:
        case PropertyType::ServerId:
        case PropertyType::Restriction:
        case PropertyType::RuleAction:
        case PropertyType::Binary:
        case PropertyType::MultipleString8:
        case PropertyType::MultipleString:
        case PropertyType::MultipleBinary:
            return true;
        default:
            return StorageRuleOf(type).fixedSize != 0 || MultipleElementSize(type) != 0;
    }
}

std::size_t MultipleElementSize(PropertyType type)
{
    switch (type) {
        case PropertyType::MultipleInteger16:
            return 2;
        case PropertyType::MultipleInteger32:
        case PropertyType::MultipleFloating32:
            return 4;
        case PropertyType::MultipleFloating64:
        case PropertyType::MultipleCurrency:
        case PropertyType::MultipleFloatingTime:
        case PropertyType::MultipleInteger64:
        case PropertyType::MultipleTime:
            return 8;
        case PropertyType::MultipleGuid:
            return 16;
        default:
            return 0;
    }
}

Result<std::vector<CByteView>> SplitMultiple(CByteView value)
{
    std::vector<CByteView> elements;
    if (value.Size() == 0)
        return elements;
    const auto count = value.Read<std::uint32_t>(0);
    if (!count || !value.Holds(4, std::uint64_t{4} * *count))
        return Fault{"PtypMultiple", "ulCount", count.value_or(0), 0};
    elements.reserve(*count);
    std::uint64_t first = 4 + std::uint64_t{4} * *count;
    for (std::uint32_t i = 0; i < *count; ++i) {
        const std::uint64_t place = 4 + std::uint64_t{4} * i;
        const std::uint64_t begin = value.ReadOrZero<std::uint32_t>(place);
        const std::uint64_t end = i + 1 < *count ? value.ReadOrZero<std::uint32_t>(place + 4) : value.Size();
        if (begin < first || end < begin || !value.Holds(begin, end - begin))
            return Fault{"PtypMultiple", "rgulDataOffsets", begin, place};
        elements.push_back(*value.Sub(begin, end - begin));
        first = begin;
    }
    return elements;
}

std::vector<std::byte> JoinMultiple(const std::vector<std::vector<std::byte>>& elements)
{
    std::vector<std::byte> value(4 + 4 * elements.size());
    StoreLE<std::uint32_t>(value, 0, static_cast<std::uint32_t>(elements.size()));
    for (std::size_t i = 0; i < elements.size(); ++i) {
        StoreLE<std::uint32_t>(value, 4 + 4 * i, static_cast<std::uint32_t>(value.size()));
        value.insert(value.end(), elements[i].begin(), elements[i].end());
    }
    return value;
}

Result<PropertyContextRecords> ReadPropertyContext(const CHeapView& heap)
{
    if (heap.ClientSignature() != clientsig::kPropertyContext)
        return Fault{"HNHDR", "bClientSig", heap.ClientSignature(), 3};
    const auto tree = CBthView::Open(heap, heap.UserRoot());
    if (!tree)
        return tree.GetFault();
    if (tree->KeySize() != 2 || tree->DataSize() != 6)
        return Fault{"BTHHEADER", "cbKey", tree->KeySize(), 1};
    PropertyContextRecords context;
    context.fault = tree->ForEach([&context](const BthRecord& record) {
        context.records.push_back({{static_cast<std::uint16_t>(record.key),
                                    static_cast<PropertyType>(record.data.ReadOrZero<std::uint16_t>(0))},
                                   record.data.ReadOrZero<std::uint32_t>(2)});
        return true;
    });
    return context;
}

}  // namespace pastille::format
