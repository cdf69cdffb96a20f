#include <gtest/gtest.h>

#include <map>

#include "component/pst/ltp/TableReader.h"
#include "component/pst/ltp/TableWriter.h"
#include "format/PropertyIds.h"
#include "tests/component/NdbTestFile.h"

namespace pastille::tests {
namespace {

using namespace component::pst;
namespace pid = format::pid;

/// What the tests know of a table: cells by row id.
using Model = std::map<std::uint32_t, CPropertyBag>;

CPropertyBag MessageCells(std::uint32_t number, std::size_t subjectLength = 20)
{
    CPropertyBag cells;
    cells.Set(
        StringValue(pid::kSubject, std::u16string(subjectLength, static_cast<char16_t>(u'a' + number % 26))));
    cells.Set(StringValue(pid::kMessageClass, u"IPM.Note"));
    cells.Set(Integer32Value(pid::kMessageFlags, number));
    cells.Set(TimeValue(pid::kMessageDeliveryTime, 0x01DA000000000000 + number));
    if (number % 2 == 0)
        cells.Set(BooleanValue(0x0057, true));
    return cells;
}

NodeRecord PutTable(CNdbWriter& writer, CTableWriter& table)
{
    const NodeContent content = table.Finish();
    writer.PutNode({0x12E}, content.data, content.sub);
    return *writer.FindNode({0x12E});
}

void ExpectTable(INodeDatabase& database, const NodeRecord& node, const Model& model)
{
    CTableReader reader(database, node);
    ASSERT_EQ(reader.RowCount(), model.size());
    ASSERT_NO_THROW(reader.VerifyRowIndex());
    for (const auto& [rowId, cells] : model) {
        const auto row = reader.FindRow(rowId);
        ASSERT_TRUE(row) << rowId;
        CPropertyBag found = reader.ReadRow(*row, 1u << 20);
        EXPECT_TRUE(found.Remove(pid::kLtpRowId) && found.Remove(pid::kLtpRowVer));
        ASSERT_EQ(found.Values(), cells.Values()) << rowId;
    }
}

// 126-byte rows: 64 in a block. Row ids come in no order.
TEST(LtpTable, RowsComeAndGoAndEveryFinishIsATable)
{
    CTestFile file;
    CNdbWriter writer(file);
    CTableWriter table(writer, tabletemplate::kContentsTableColumns);
    Model model;
    const auto rowId = [](std::uint32_t number) { return (number * 37 % 1201 + 1) * 32 + 4; };
    const auto add = [&](std::uint32_t from, std::uint32_t to) {
        for (std::uint32_t i = from; i < to; ++i) {
            model[rowId(i)] = MessageCells(i, i == 700 ? 5000 : i % 40);
            table.AddRow(rowId(i), model[rowId(i)]);
        }
    };
    for (const std::uint32_t rows : {0u, 1u, 28u, 29u, 64u, 65u, 129u, 1200u}) {
        add(static_cast<std::uint32_t>(model.size()), rows);
        ExpectTable(writer, PutTable(writer, table), model);
    }
    EXPECT_THROW(table.AddRow(rowId(3), {}), std::invalid_argument);

    for (std::uint32_t i = 0; i < 1200; i += 7) {
        model[rowId(i)] = MessageCells(i + 1, i == 700 ? 6000 : 3);
        EXPECT_TRUE(table.UpdateRow(rowId(i), model[rowId(i)]));
    }
    ExpectTable(writer, PutTable(writer, table), model);
    EXPECT_FALSE(table.UpdateRow(1, {}));

    for (std::uint32_t i = 0; i < 1200; ++i)
        if (i % 5 != 0 || i > 900) {
            model.erase(rowId(i));
            EXPECT_TRUE(table.RemoveRow(rowId(i)));
        }
    EXPECT_FALSE(table.RemoveRow(rowId(1)));
    const NodeRecord node = PutTable(writer, table);
    ExpectTable(writer, node, model);
    for (std::uint32_t i = 0; i < 1000; ++i) {
        table.RemoveRow(rowId(i));
        model.erase(rowId(i));
    }
    ExpectTable(writer, PutTable(writer, table), model);
    table.AddRow(rowId(2), model[rowId(2)] = MessageCells(2));
    ExpectTable(writer, PutTable(writer, table), model);
    writer.Commit();
    ASSERT_NO_THROW(VerifyNodeDatabase(file));
    CNdbReader reader(file);
    ExpectTable(reader, *reader.FindNode({0x12E}), model);
}

TEST(LtpTable, RowsKeepTheirOrderAndNeverCrossABlock)
{
    CTestFile file;
    CNdbWriter writer(file);
    CTableWriter table(writer, tabletemplate::kContentsTableColumns);
    for (std::uint32_t i = 0; i < 200; ++i)
        table.AddRow(10000 - i, MessageCells(i));
    const NodeRecord node = PutTable(writer, table);
    CTableReader reader(writer, node);
    std::vector<std::uint32_t> versions;
    for (std::uint32_t i = 0; i < 200; ++i) {
        EXPECT_EQ(reader.RowIdAt(i), 10000 - i);
        versions.push_back(*AsInteger32(*reader.Cell(i, pid::kLtpRowVer)));
        EXPECT_FALSE(reader.Cell(i, 0x0058)) << "never given";
        EXPECT_EQ(reader.Cell(i, 0x0057).has_value(), i % 2 == 0);
    }
    std::ranges::sort(versions);
    EXPECT_EQ(std::ranges::adjacent_find(versions), versions.end());
    EXPECT_GT(writer.NextUnique(), versions.back());

    const auto matrix = FindSubnode(writer, node.sub, {reader.Info().rows});
    ASSERT_TRUE(matrix);
    CDataTreeReader blocks(writer, matrix->data);
    ASSERT_EQ(blocks.BlockCount(), 4u) << "64 rows of 126 bytes in each block";
    EXPECT_EQ(blocks.BlockAt(0)->size(), 8176u);
    EXPECT_EQ(blocks.BlockAt(3)->size(), 8u * 126);
}

// A row that is saved again and again with the same texts does not make the heap grow each time.
TEST(LtpTable, UnchangedCellsAreNotStoredAgain)
{
    CTestFile file;
    CNdbWriter writer(file);
    CTableWriter table(writer, tabletemplate::kContentsTableColumns);
    CDataTreeWriter tree(writer);
    tree.Append(Pattern(9000));
    const StoredTree stored{tree.Finish(), 9000};
    CPropertyBag cells = MessageCells(0);
    cells.Set(TreeValue({pid::kDisplayTo, format::PropertyType::String}, stored));
    table.AddRow(0x24, cells);
    const NodeContent first = table.Finish();
    for (unsigned i = 0; i < 50; ++i)
        table.UpdateRow(0x24, cells);
    const NodeContent last = table.Finish();
    EXPECT_EQ(last.dataSize, first.dataSize);
    EXPECT_EQ(last.subnodeSize, 9000u);
    const NodeRecord node{{0x12E}, last.data, last.sub, {}};
    EXPECT_EQ(CTableReader(writer, node).Cell(0, pid::kDisplayTo, 100)->tree->root, stored.root);
    cells.Remove(pid::kDisplayTo);
    table.UpdateRow(0x24, cells);
    EXPECT_EQ(table.Finish().sub.value, 0u) << "the last large cell is gone";
}

TEST(LtpTable, BookkeepingCellsAndForeignTypesAreNotTaken)
{
    CTestFile file;
    CNdbWriter writer(file);
    CTableWriter table(writer, tabletemplate::kContentsTableColumns);
    CPropertyBag cells = MessageCells(1);
    cells.Set(Integer32Value(pid::kLtpRowId, 77));
    cells.Set(Integer32Value(pid::kLtpRowVer, 78));
    cells.Set(BinaryValue(pid::kSubject, Pattern(6)));
    cells.Set(Integer32Value(0x7777, 1));
    table.AddRow(0x24, cells);
    CTableReader reader(writer, PutTable(writer, table));
    EXPECT_EQ(reader.RowIdAt(0), 0x24u);
    EXPECT_NE(AsInteger32(*reader.Cell(0, pid::kLtpRowVer)), 78u);
    EXPECT_FALSE(reader.Cell(0, pid::kSubject)) << "a binary is no text";
    EXPECT_FALSE(reader.Cell(0, 0x7777));
    auto columns = std::vector(tabletemplate::kAttachmentTableColumns.begin(),
                               tabletemplate::kAttachmentTableColumns.end());
    columns[0].offset = columns[1].offset;
    EXPECT_THROW(CTableWriter(writer, columns), std::invalid_argument) << "cells overlap";
}

TEST(LtpTable, AHundredThousandRows)
{
    CTestFile file;
    CNdbWriter writer(file);
    CTableWriter table(writer, tabletemplate::kContentsTableColumns);
    constexpr std::uint32_t kRows = 100000;
    for (std::uint32_t i = 0; i < kRows; ++i)
        table.AddRow(MessageNid(i).value, MessageCells(i));
    CTableReader reader(writer, PutTable(writer, table));
    ASSERT_EQ(reader.RowCount(), kRows);
    for (std::uint32_t i = 0; i < kRows; i += 997) {
        EXPECT_EQ(reader.FindRow(MessageNid(i).value), i);
        EXPECT_EQ(AsInteger32(*reader.Cell(i, pid::kMessageFlags)), i);
    }
    writer.Commit();
    EXPECT_NO_THROW(VerifyNodeDatabase(file));
}

}  // namespace
}  // namespace pastille::tests
