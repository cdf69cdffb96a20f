#include "component/pst/ltp/StoredValue.h"

#include "component/pst/ndb/DataTree.h"
#include "component/pst/ndb/FormatError.h"
#include "format/PropertyContext.h"

namespace pastille::component::pst {
namespace {

format::Bid RequireTree(const ValuePlaces& places, std::uint32_t nid)
{
    const auto subnode = FindSubnode(places.database, places.subnodes, {nid});
    if (!subnode || subnode->data.value == 0)
        throw CFormatError({"HNID", "nid", nid, 0});
    return subnode->data;
}

void VerifySize(format::PropertyTag tag, std::uint64_t size)
{
    const std::size_t fixed = format::StorageRuleOf(tag.type).fixedSize;
    const std::size_t element = format::MultipleElementSize(tag.type);
    if ((fixed != 0 && size != fixed) || (element != 0 && size % element != 0))
        throw CFormatError({"property value", "size", size, tag.Value()});
}

}  // namespace

std::uint64_t StoredSize(const ValuePlaces& places, std::uint32_t hnid)
{
    if (hnid == 0)
        return 0;
    if (format::IsHeapId(hnid))
        return Require(places.heap.Item(hnid)).view.Size();
    return DataTreeSize(places.database, RequireTree(places, hnid));
}

PropertyValue ReadStoredValue(const ValuePlaces& places, format::PropertyTag tag, std::uint32_t hnid,
                              std::uint64_t inlineBytes)
{
    PropertyValue value{tag, {}, {}};
    if (hnid == 0) {
        VerifySize(tag, 0);
        return value;
    }
    if (format::IsHeapId(hnid)) {
        const format::HeldBytes item = Require(places.heap.Item(hnid));
        VerifySize(tag, item.view.Size());
        value.bytes.assign(item.view.Bytes().begin(), item.view.Bytes().end());
        return value;
    }
    const format::Bid root = RequireTree(places, hnid);
    const std::uint64_t size = DataTreeSize(places.database, root);
    VerifySize(tag, size);
    if (size > inlineBytes)
        value.tree = StoredTree{root, size};
    else
        value.bytes = CDataTreeReader(places.database, root).ReadAll();
    return value;
}

}  // namespace pastille::component::pst
