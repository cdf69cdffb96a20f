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

/// Looks at every `step`th row.
void ExpectTable(INodeDatabase& database, const NodeRecord& node, const Model& model, unsigned step = 1)
{
    CTableReader reader(database, node);
    ASSERT_EQ(reader.RowCount(), model.size());
    ASSERT_NO_THROW(reader.VerifyRowIndex());
    unsigned number = 0;
    for (const auto& [rowId, cells] : model) {
        if (number++ % step != 0)
            continue;
        const auto row = reader.FindRow(rowId);
        ASSERT_TRUE(row) << rowId;
        CPropertyBag found = reader.ReadRow(*row, 1u << 20);
        EXPECT_TRUE(found.Remove(pid::kLtpRowId) && found.Remove(pid::kLtpRowVer));
        ASSERT_EQ(found.Values(), cells.Values()) << rowId;
    }
}

/// Rows of 126 bytes, 64 in a block, whose ids rise in uneven steps.
class CGrowingTable {
public:
    static std::uint32_t RowId(std::uint32_t number) { return number * 32 + number % 3; }
    void GrowTo(std::uint32_t rows)
    {
        for (auto i = static_cast<std::uint32_t>(model.size()); i < rows; ++i) {
            model[RowId(i)] = MessageCells(i, i == 700 ? 5000 : i % 40);
            table.AddRow(RowId(i), model[RowId(i)]);
        }
    }
    void Change(std::uint32_t first, std::uint32_t step)
    {
        for (auto i = first; i < model.size(); i += step) {
            model[RowId(i)] = MessageCells(i + 1, i == 700 ? 6000 : 3 + i % 30);
            EXPECT_TRUE(table.UpdateRow(RowId(i), model[RowId(i)]));
        }
    }
    void ExpectFinished(unsigned step = 1) { ExpectTable(writer, PutTable(writer, table), model, step); }

    CMemoryFile file;
    CNdbWriter writer{file};
    CTableWriter table{writer, tabletemplate::kContentsTableColumns};
    Model model;
};

// The rows stand in the heap, in one block, in many; a leaf of the row index holds 447. After each Finish the
// table goes on from what stands in the file.
TEST(LtpTable, GrowsAndChangesAndEveryFinishIsATable)
{
    CGrowingTable t;
    for (const std::uint32_t rows : {0u, 1u, 2u, 28u, 29u, 64u, 65u, 129u, 446u, 447u, 448u, 900u, 1400u}) {
        t.GrowTo(rows);
        t.ExpectFinished();
        t.Change(rows / 2, 97);
        t.ExpectFinished();
    }
    t.Change(0, 7);
    t.GrowTo(1410);
    t.ExpectFinished();
    EXPECT_FALSE(t.table.UpdateRow(1, {}));
    EXPECT_THROW(t.table.AddRow(t.RowId(1409), {}), std::invalid_argument);
    t.writer.Commit();
    ASSERT_EQ(DatabaseErrors(t.file), "");
    CNdbReader reader(t.file);
    ExpectTable(reader, *reader.FindNode({0x12E}), t.model);
}

// 1021 blocks of rows fill an XBLOCK; the heap has several of its own. Little is written for few new rows.
TEST(LtpTable, ALargeTableFinishesCheaply)
{
    CGrowingTable t;
    t.GrowTo(64 * 1021 + 70);
    const NodeRecord before = PutTable(t.writer, t.table);
    t.writer.Commit();
    const auto end = t.writer.FileBytes();
    t.GrowTo(static_cast<std::uint32_t>(t.model.size()) + 3);
    const NodeRecord node = PutTable(t.writer, t.table);
    EXPECT_LT(t.writer.FileBytes() - end, 100'000u) << "of 8 MB";
    t.Change(100, 50'000);
    t.ExpectFinished(50);  // rows of every block, and those changed
    EXPECT_NE(before.data.value, node.data.value);
    t.writer.Commit();
    ASSERT_EQ(DatabaseErrors(t.file), "");
}

// Ten thousand tables that grow side by side must not keep their blocks in memory.
TEST(LtpTable, AFinishedTableKeepsLittle)
{
    CGrowingTable t;
    t.GrowTo(28);
    for (const std::uint32_t rows : {28u, 200u, 5000u}) {
        t.GrowTo(rows);
        PutTable(t.writer, t.table);
        EXPECT_LT(t.table.HeldBytes(), 1000 + rows * 6) << rows;
    }
}

// One row more than fits is refused before anything of it is written, and the table stays sound.
TEST(LtpTable, LimitsAreMetWithAnError)
{
    const auto largeCells = [](std::uint32_t number) { return MessageCells(number, 5000); };
    const auto manyBytes = [](std::uint32_t number) { return MessageCells(number, 1700); };
    const auto smallCells = [](std::uint32_t number) { return MessageCells(number); };
    struct Case {
        const char* name;
        TableLimits limits;
        CPropertyBag (*cells)(std::uint32_t);
        std::uint32_t rows;  ///< that fit
    };
    TableLimits heap, rows, subnodes;
    heap.heapBlocks = 32 + 10;
    rows.rowBlocks = 3;
    subnodes.subnodes = 6;
    for (const Case& limit :
         {Case{"heap blocks", heap, manyBytes, 21}, Case{"rows", rows, smallCells, 4 * 64},
          Case{"subnodes", subnodes, largeCells, 5}}) {
        SCOPED_TRACE(limit.name);
        CMemoryFile file;
        CNdbWriter writer(file);
        CTableWriter table(writer, tabletemplate::kContentsTableColumns, limit.limits);
        Model model;
        for (std::uint32_t i = 0; i < limit.rows; ++i)
            table.AddRow(32 * i, model[32 * i] = limit.cells(i));
        const auto end = writer.FileBytes();
        EXPECT_THROW(table.AddRow(32 * limit.rows, limit.cells(0)), std::length_error);
        EXPECT_EQ(writer.FileBytes(), end);
        ExpectTable(writer, PutTable(writer, table), model);
    }
}

// A row that is saved again and again with the same texts does not make the heap grow each time.
TEST(LtpTable, UnchangedCellsAreNotStoredAgain)
{
    CMemoryFile file;
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
    CMemoryFile file;
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

}  // namespace
}  // namespace pastille::tests
