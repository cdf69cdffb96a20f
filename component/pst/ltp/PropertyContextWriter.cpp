#include "component/pst/ltp/PropertyContextWriter.h"

#include <algorithm>
#include <span>
#include <stdexcept>
#include <vector>

#include "component/pst/ltp/HeapWriter.h"
#include "format/Heap.h"
#include "format/PropertyContext.h"

namespace pastille::component::pst {
namespace {

constexpr std::size_t kKeySize = 2;
constexpr std::size_t kDataSize = 6;
constexpr std::size_t kRecordSize = kKeySize + kDataSize;
constexpr std::size_t kBthHeaderSize = 8;

class CContextWriter {
public:
    CContextWriter(CNdbWriter& writer, CSubnodeTreeWriter& subnodes)
        : m_writer(writer), m_subnodes(subnodes), m_heap(format::clientsig::kPropertyContext)
    {
    }

    NodeContent Write(const CPropertyBag& bag)
    {
        const std::size_t recordBytes = bag.Values().size() * kRecordSize;
        const format::HeapId header = m_heap.Add(m_writer, std::vector<std::byte>(kBthHeaderSize));
        m_heap.SetUserRoot(header);
        if (recordBytes > format::kLargestHeapItem) {
            WriteBth(m_writer, m_heap, header, kKeySize, kDataSize, MakeRecords(bag));
            return Finish();
        }
        // The usual case: one array of records, which stands before the values as other writers have it.
        const format::HeapId array = m_heap.Add(m_writer, std::vector<std::byte>(recordBytes));
        const std::vector<std::byte> records = MakeRecords(bag);
        if (array.value != 0)
            std::ranges::copy(records, m_heap.ItemOfFirstBlock(m_writer, array).begin());
        EncodeBthHeader(m_heap.ItemOfFirstBlock(m_writer, header), kKeySize, kDataSize, 0, array);
        return Finish();
    }

private:
    NodeContent Finish()
    {
        NodeContent content;
        content.data = m_heap.Finish(m_writer);
        content.dataSize = m_heap.Size();
        content.sub = m_subnodes.Finish(m_writer);
        content.subnodeSize = m_subnodeSize;
        return content;
    }

    std::vector<std::byte> MakeRecords(const CPropertyBag& bag)
    {
        std::vector<std::byte> records(bag.Values().size() * kRecordSize);
        std::size_t offset = 0;
        for (const PropertyValue& value : bag.Values()) {
            format::StoreLE<std::uint16_t>(records, offset, value.tag.id);
            format::StoreLE<std::uint16_t>(records, offset + 2, static_cast<std::uint16_t>(value.tag.type));
            format::StoreLE<std::uint32_t>(records, offset + 4, StoreValue(value));
            offset += kRecordSize;
        }
        return records;
    }

    /// What stands in dwValueHnid.
    std::uint32_t StoreValue(const PropertyValue& value)
    {
        const format::PropertyStorageRule rule = format::StorageRuleOf(value.tag.type);
        if (rule.fixedSize != 0 && (value.tree || value.bytes.size() != rule.fixedSize))
            throw std::invalid_argument("a property value is not of its type's size");
        if (rule.isInlineInContext) {
            std::uint32_t number = 0;
            for (std::size_t i = 0; i < value.bytes.size(); ++i)
                number |= static_cast<std::uint32_t>(value.bytes[i]) << (8 * i);
            return number;
        }
        if (!value.tree && value.bytes.size() <= format::kLargestHeapItem)
            return m_heap.Add(m_writer, value.bytes).value;
        if (value.Size() == 0)
            return 0;
        const format::Nid nid = m_writer.AllocateNid(format::NidType::Ltp);
        m_subnodes.Add(nid, value.tree ? value.tree->root : WriteTree(value.bytes));
        m_subnodeSize += value.Size();
        return nid.value;
    }

    format::Bid WriteTree(std::span<const std::byte> bytes)
    {
        CDataTreeWriter tree(m_writer);
        tree.Append(bytes);
        return tree.Finish();
    }

    CNdbWriter& m_writer;
    CSubnodeTreeWriter& m_subnodes;
    CHeapWriter m_heap;
    std::uint64_t m_subnodeSize = 0;
};

}  // namespace

NodeContent WritePropertyContext(CNdbWriter& writer, const CPropertyBag& bag, CSubnodeTreeWriter& subnodes)
{
    return CContextWriter(writer, subnodes).Write(bag);
}

NodeContent WritePropertyContext(CNdbWriter& writer, const CPropertyBag& bag)
{
    CSubnodeTreeWriter subnodes;
    return WritePropertyContext(writer, bag, subnodes);
}

}  // namespace pastille::component::pst
