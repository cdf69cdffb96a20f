#include "writer/MailWriter.h"

#include <gtest/gtest.h>

#include "tests/writer/WriterSupport.h"

namespace pastille::tests {
namespace {

using namespace writer;

class MailWriterTest : public testing::Test, public WriterFixture, public platform::IFrontEnd {
public:
    MailWriterTest() : WriterFixture(u"IPM.Note") { writer.BeginMessage(); }
    void Send(const platform::Message& message) override
    {
        const auto& cell = std::get<platform::ListCellMessage>(message);
        cells.push_back(std::to_string(cell.cell) + ":" + platform::ToUtf8(cell.text));
    }

    void WriteText(std::uint16_t id, std::u16string text)
    {
        const auto hnid = static_cast<std::uint32_t>((source.texts.size() + 1) << 5);
        source.texts[hnid] = std::move(text);
        Write(id, kString, hnid);
    }
    void Write(std::uint16_t id, std::uint16_t type, std::uint32_t value)
    {
        writer.Record({id, type, value});
        writer.Write(item, {id, type, value}, source);
    }
    /// Makes the late rows written: only a row that was shown lets them through.
    void ShowRow() { WriteText(0x0E04, u"to"); }

    std::vector<std::string> cells;
    CMailWriter writer{*this};
};

TEST_F(MailWriterTest, WithoutFromTheRowStartsEmpty)
{
    WriteText(0x0E04, u"Bob");
    EXPECT_EQ(cells, (std::vector<std::string>{"1:", "2:Bob", "3:"}));
}

TEST_F(MailWriterTest, AMessageWithoutARowIsWrittenAllTheSame)
{
    writer.BeginMessage(false);
    WriteText(0x0042, u"Ann");
    WriteText(0x0E04, u"Bob");
    EXPECT_TRUE(cells.empty());
    EXPECT_EQ(Item().Text("DisplayTo"), u"Bob");
    writer.BeginMessage();
    ShowRow();
    EXPECT_FALSE(cells.empty()) << "the next message has one";
}

TEST_F(MailWriterTest, TheFirstLatePropertyWithoutToShowsTheRowInstead)
{
    item->SetText(property::Subject, u"Hi");
    WriteText(0x0E03, u"cc");  // not late
    Write(0x0E06, kTime, source.Add(Packed(std::uint64_t{1})));
    EXPECT_EQ(cells, (std::vector<std::string>{"1:", "3:Hi"}));
    EXPECT_FALSE(Item().Wrote("DeliveryTime"));
    EXPECT_EQ(Item().Text("DisplayCc"), u"cc");
    Write(0x0E07, kLong, 1);
    EXPECT_TRUE(Item().Wrote("UnRead")) << "the next one is written";

    writer.BeginMessage();
    cells.clear();
    WriteText(0x0042, u"Ann");
    Write(0x0E06, kTime, 0);
    EXPECT_EQ(cells, (std::vector<std::string>{"1:Ann", "3:Hi"})) << "From is not shown twice";
}

TEST_F(MailWriterTest, ImportanceSensitivityAndIconNeedARecordedValue)
{
    struct Case {
        std::uint16_t id;
        const char* target;
        std::uint32_t value;
        bool written;
    };
    const Case cases[] = {
        {0x0017, "Importance", 2, true},     {0x0017, "Importance", 3, false},
        {0x0017, "Importance", 333, false},  {0x0036, "Sensitivity", 3, true},
        {0x0036, "Sensitivity", 4, false},   {0x0036, "Sensitivity", 5, false},
        {0x0036, "Sensitivity", 333, false}, {0x1095, "FollowupIcon", 6, true},
        {0x1095, "FollowupIcon", 7, false},  {0x1095, "FollowupIcon", 333, false},
    };
    for (const Case& row : cases) {
        Item().written.clear();
        writer.BeginMessage();
        ShowRow();
        Write(row.id, kLong, row.value);
        EXPECT_EQ(Item().Wrote(row.target), row.written) << row.target << " " << row.value;
    }
    Item().written.clear();
    writer.BeginMessage();
    writer.Write(item, {0x0017, kLong, 2}, source);
    EXPECT_TRUE(Item().written.empty()) << "nothing on record";
}

TEST_F(MailWriterTest, FlagsClearUnreadAndUnsent)
{
    struct Case {
        std::u16string folder;
        std::uint32_t flags;
        bool clearsUnread, clearsSent;
    };
    const Case cases[] = {{u"Inbox", 0x01, true, false},  {u"Inbox", 0x08, false, true},
                          {u"Inbox", 0x02, false, false}, {u"sent", 0x09, true, false},
                          {u"Sent", 0x08, false, false},  {u"Sent Items", 0x08, false, true}};
    for (const Case& row : cases) {
        source.folderName = row.folder;
        Item().written.clear();
        ShowRow();
        Write(0x0E07, kLong, row.flags);
        EXPECT_EQ(Item().Wrote("UnRead"), row.clearsUnread) << row.flags;
        EXPECT_EQ(Item().Wrote("Sent"), row.clearsSent) << row.flags;
    }
    EXPECT_EQ(Item().numbers["Sent"], 0);
}

TEST_F(MailWriterTest, TheIconTellsTheVerb)
{
    ShowRow();
    for (const std::uint32_t icon : {0x104u, 0x105u, 0x106u, 0x107u, 0x10105u})
        Write(0x1080, kLong, icon);
    EXPECT_EQ(Item().written, (std::vector<std::string>{"DisplayTo", "Reply", "Forward"}));
}

TEST_F(MailWriterTest, WithoutAnItemNothingIsCalled)
{
    EXPECT_THROW(writer.Write({}, {0x0E04, kString, 0x20}, source), _com_error);
    EXPECT_TRUE(cells.empty());
}

}  // namespace
}  // namespace pastille::tests
