#include <gtest/gtest.h>

#include "component/pst/ltp/HeapWriter.h"
#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ndb/DataTree.h"
#include "format/Bth.h"
#include "format/PropertyIds.h"
#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
using format::PropertyType;

NodeRecord PutBag(CNdbWriter& writer, const CPropertyBag& bag)
{
    const NodeContent content = WritePropertyContext(writer, bag);
    writer.PutNode({0x21}, content.data, content.sub);
    return *writer.FindNode({0x21});
}

CPropertyBag BagOfAllTypes(CNdbWriter& writer)
{
    CPropertyBag bag;
    bag.Set(BooleanValue(0x360A, true));
    bag.Set(Integer16Value(0x7001, 0xFEDC));
    bag.Set(Integer32Value(0x3602, 0x89ABCDEF));
    bag.Set(Integer64Value(0x7002, 0x0123456789ABCDEF));
    bag.Set(Floating64Value(0x7003, -12.5));
    bag.Set(TimeValue(0x3007, 0x01DA000000000001));
    bag.Set(GuidValue(0x7004, format::propset::kTask));
    bag.Set(StringValue(0x3001, u"A name \u00E4\u4E2D"));
    bag.Set(StringValue(0x3004, u""));
    bag.Set(BinaryValue(0x300B, Pattern(16)));
    bag.Set(BinaryValue(0x7005, Pattern(3580, 1)));
    bag.Set(BinaryValue(0x7006, Pattern(3581, 2)));
    bag.Set(BinaryValue(0x7007, Pattern(3 * 8176 + 17, 3)));
    bag.Set(MultipleStringValue(0x7008, {u"Green", u"", u"Blue"}));
    bag.Set(MultipleInteger32Value(0x7009, std::vector<std::uint32_t>{1, 0xFFFFFFFF}));
    CDataTreeWriter tree(writer);
    tree.Append(Pattern(20000, 4));
    const std::uint64_t size = tree.Size();
    bag.Set(TreeValue({0x3701, PropertyType::Binary}, {tree.Finish(), size}));
    return bag;
}

TEST(LtpProperty, ValuesOfAllTypesReadBackFromWriterAndFile)
{
    CMemoryFile file;
    CNdbWriter writer(file);
    const CPropertyBag bag = BagOfAllTypes(writer);
    const NodeRecord node = PutBag(writer, bag);
    writer.Commit();
    ASSERT_EQ(DatabaseErrors(file), "");
    CNdbReader reader(file);
    INodeDatabase* const databases[] = {&writer, &reader};
    for (INodeDatabase* database : databases) {
        CPropertyReader properties(*database, node);
        EXPECT_EQ(properties.Tags().size(), bag.Values().size());
        for (const PropertyValue& expected : bag.Values()) {
            const auto value = properties.Read(expected.tag.id);
            ASSERT_TRUE(value) << expected.tag.id;
            EXPECT_EQ(value->tag, expected.tag);
            EXPECT_EQ(value->bytes, expected.tree ? Pattern(20000, 4) : expected.bytes) << expected.tag.id;
            EXPECT_EQ(properties.SizeOf(expected.tag.id), value->bytes.size());
        }
        EXPECT_EQ(AsString(*properties.Read(0x3001)), u"A name \u00E4\u4E2D");
        EXPECT_EQ(AsFloating64(*properties.Read(0x7003)), -12.5);
        EXPECT_EQ(AsBoolean(*properties.Read(0x360A)), true);
        EXPECT_EQ(AsMultipleString(*properties.Read(0x7008)),
                  (std::vector<std::u16string>{u"Green", u"", u"Blue"}));
        EXPECT_FALSE(AsInteger32(*properties.Read(0x3001)));
        EXPECT_FALSE(properties.Read(0x7007, 1000)) << "too long for the caller";
        const auto stream = properties.Open(0x7007);
        ASSERT_TRUE(stream);
        EXPECT_EQ(stream->ReadAll(), Pattern(3 * 8176 + 17, 3));
        EXPECT_FALSE(properties.Open(0x3001)) << "stands in the heap";
        EXPECT_FALSE(properties.Read(0x1234));
        const CPropertyBag all = properties.ReadAll(10000);
        EXPECT_TRUE(all.Find(0x7007)->tree && !all.Find(0x7006)->tree);
    }
}

TEST(LtpProperty, EmptyContextAndManyProperties)
{
    // 447 records fill one array; the name map of a large store has more.
    for (const unsigned count : {0u, 447u, 448u, 3000u}) {
        CMemoryFile file;
        CNdbWriter writer(file);
        CPropertyBag bag;
        for (unsigned i = 0; i < count; ++i)
            bag.Set(i % 3 == 0 ? Integer32Value(static_cast<std::uint16_t>(0x1000 + i), i)
                               : BinaryValue(static_cast<std::uint16_t>(0x1000 + i), Pattern(i % 90, i)));
        CPropertyReader properties(writer, PutBag(writer, bag));
        const CPropertyBag all = properties.ReadAll();
        EXPECT_EQ(all.Values(), bag.Values()) << count;
    }
}

TEST(LtpProperty, ValuesThatDoNotFitTheirTypeAreRefused)
{
    CMemoryFile file;
    CNdbWriter writer(file);
    for (const PropertyType type : {PropertyType::Boolean, PropertyType::Integer64, PropertyType::Guid}) {
        CPropertyBag bag;
        bag.Set({{0x7000, type}, Pattern(3), {}});
        EXPECT_THROW(WritePropertyContext(writer, bag), std::invalid_argument);
    }
    EXPECT_EQ(StringValue(0x3001, std::u16string(u"a\0b", 3)).bytes, StringValue(0x3001, u"ab").bytes);
}

using format::HeapId;

format::CHeapView OpenHeap(CNdbWriter& writer, CDataTreeReader& blocks)
{
    return *format::CHeapView::Open(writer.Layout(), blocks);
}

TEST(LtpHeap, ManySmallItemsKeepTheIndexLimit)
{
    CMemoryFile file;
    CNdbWriter writer(file);
    CHeapWriter heap(format::clientsig::kPropertyContext);
    std::vector<HeapId> ids;
    for (unsigned i = 0; i < 5000; ++i)
        ids.push_back(heap.Add(writer, Pattern(1, i)));
    CDataTreeReader blocks(writer, heap.Finish(writer));
    const format::CHeapView view = OpenHeap(writer, blocks);
    for (unsigned i = 0; i < 5000; ++i)
        ASSERT_TRUE(view.Item(ids[i].value) && view.Item(ids[i].value)->view.Bytes()[0] == Pattern(1, i)[0])
            << i;
    EXPECT_EQ(ids[2046], HeapId::Make(0, 2047));
    EXPECT_EQ(ids[2047], HeapId::Make(1, 1));
    EXPECT_EQ(heap.Add(writer, {}).value, 0u);
    EXPECT_THROW(heap.Add(writer, Pattern(3581)), std::length_error);
    for (const std::uint32_t wrong : {0u, 1u, 0x3Fu, HeapId::Make(2, 2000).value, 0xFFFF0020u})
        EXPECT_FALSE(view.Item(wrong)) << wrong;
}

TEST(LtpBth, EveryDepthFindsEveryKey)
{
    // 447 records of 8 bytes fill one array; 447 index records of 8 bytes one index.
    for (const std::uint32_t count : {0u, 1u, 447u, 448u, 199809u, 199810u}) {
        CMemoryFile file;
        CNdbWriter writer(file);
        CHeapWriter heap(format::clientsig::kTableContext);
        const HeapId header = heap.Add(writer, std::vector<std::byte>(8));
        heap.SetUserRoot(header);
        std::vector<std::byte> records(std::size_t{count} * 8);
        for (std::uint32_t i = 0; i < count; ++i) {
            format::StoreLE<std::uint32_t>(records, 8 * std::size_t{i}, 2 * i + 2);
            format::StoreLE<std::uint32_t>(records, 8 * std::size_t{i} + 4, ~i);
        }
        WriteBth(writer, heap, header, 4, 4, records);
        CDataTreeReader blocks(writer, heap.Finish(writer));
        const format::CHeapView view = OpenHeap(writer, blocks);
        const auto tree = format::CBthView::Open(view, view.UserRoot());
        ASSERT_TRUE(tree);
        EXPECT_EQ(tree->Levels(), count <= 447 ? 0u : count <= 199809 ? 1u : 2u);
        for (std::uint32_t i = 0; i < count; i += 1 + count / 300) {
            const auto found = tree->Find(2 * i + 2);
            ASSERT_TRUE(found && *found) << i;
            EXPECT_EQ((*found)->data.ReadOrZero<std::uint32_t>(0), ~i);
            EXPECT_FALSE(*tree->Find(2 * i + 1)) << i;
        }
        std::uint32_t seen = 0;
        EXPECT_FALSE(
            tree->ForEach([&seen](const format::BthRecord& record) { return record.key == 2 * ++seen; }));
        EXPECT_EQ(seen, count);
    }
}

}  // namespace
}  // namespace pastille::tests
