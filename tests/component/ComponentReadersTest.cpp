#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/Text.h"
#include "tests/component/ComponentFixture.h"

namespace pastille::tests {
namespace {

using namespace writer;
namespace p = writer::property;

bool IsInstalled(const std::string& program)
{
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

std::string ReadText(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// All files below a folder with their contents joined, by name.
std::string ReadAll(const std::filesystem::path& folder, const std::string& name)
{
    std::string text;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file() && entry.path().filename().string().find(name) != std::string::npos)
            text += ReadText(entry.path());
    return text;
}

std::size_t Count(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

/// A subject that begins beyond ASCII: "Hello".
constexpr const char* kRussian = "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82";

/// Programs of others, run on a store that holds one item of each kind.
class ComponentOtherReaders : public CComponentFixture {
protected:
    void SetUp() override
    {
        CreateStore();
        const auto inbox = AddFolder(AddFolder(root, u"Posteingang \u00E4"), u"nested");
        const auto mail = AddItem(inbox, u"IPM.Note", platform::FromUtf8(kRussian));
        mail->SetFlag(p::Sent, 1);
        mail->SetText(p::Body, u"the plain body");
        mail->SetText(p::SentRepresentingName, u"Ann");
        mail->SetText(p::SenderName, u"Ann");
        mail->SetText(p::DisplayTo, u"Bob");
        mail->SetDate(p::SubmitTime, 45000.25);
        mail->SetDate(p::DeliveryTime, 45000.5);
        Attach(mail, m_large, u"large.bin");
        Attach(mail, "small contents", u"small.txt");
        mail->Save();
        const auto outer = AddItem(inbox, u"IPM.Note", u"outer mail");
        const auto inner = AddItem(inbox, u"IPM.Note", u"inner mail");
        inner->SetText(p::Body, u"the inner body");
        outer->GetAttachments()->AddAttachment(CRef<IStoreItem>(inner), u"Inner");
        outer->Save();
        for (int i = 0; i < 500; ++i)
            AddItem(inbox, u"IPM.Note", u"one of many")->Save();
        // "nable to" below: a list without members must not be one that cannot be read.
        AddItem(inbox, u"IPM.DistList", u"friends")->Save();
        const auto contact = AddItem(AddFolder(root, u"Contacts", std::int32_t{10}), u"IPM.Contact", u"Jane");
        contact->SetText(p::Text("DisplayName", format::pid::kDisplayName), u"Jane Doe");
        contact->SetText(p::NamedText("Email1", format::propset::kAddress, 0x8083), u"jane@example.com");
        contact->Save();
        const auto meeting =
            AddItem(AddFolder(root, u"Calendar", std::int32_t{9}), u"IPM.Appointment", u"Lunch");
        meeting->SetDate(p::NamedDate("Start", format::propset::kAppointment, 0x820D), 45001.5);
        meeting->SetDate(p::NamedDate("End", format::propset::kAppointment, 0x820E), 45001.75);
        meeting->Save();
        AddBodies(inbox);
        AddUnusualItems();
        root.Release(), session.Release(), store.Release();
    }
    void AddBodies(const CRef<IStoreFolder>& inbox)
    {
        const auto rtf = AddItem(inbox, u"IPM.Note", u"a mail in RTF");
        rtf->SetText(p::RtfBody, std::u16string(m_rtf.begin(), m_rtf.end()));
        rtf->Save();
        const auto html = AddItem(inbox, u"IPM.Note", u"a mail in HTML");
        html->SetNumber(p::InternetCodepage, 1251);
        html->SetText(p::HtmlBody,
                      u"<html><body>\u041F\u0440\u0438\u0432\u0435\u0442 of the web</body></html>");
        html->Save();
    }
    /// Types of values that few items have.
    void AddUnusualItems()
    {
        const auto contact = AddItem(FindFolder(root, u"Contacts"), u"IPM.Contact", u"Kim");
        contact->SetNumber(
            {"Gender", PropertyKind::Number, PropertyStorage::Tag, 0x3A4D, format::PropertyType::Integer16},
            2);
        contact->SetText({"Children", PropertyKind::Text, PropertyStorage::Tag, 0x3A58,
                          format::PropertyType::MultipleString},
                         u"Ben;Eve");
        CMemoryStream picture("\xFF\xD8\xFF picture of Kim");
        QueryInterface<IContactItem>(contact)->AddPicture(picture, u"");
        contact->Save();
        const auto task = AddItem(AddFolder(root, u"Tasks", std::int32_t{13}), u"IPM.Task", u"a task");
        task->SetText(p::Text("Priority", 0x0026), u"high");
        task->SetFlag(p::NamedFlag("Complete", format::propset::kTask, 0x811C), 1);
        task->Save();
        for (const auto* messageClass :
             {u"IPM.StickyNote", u"IPM.Activity", u"IPM.Schedule.Meeting.Request"}) {
            const auto item = AddItem(root, messageClass, u"of another family");
            item->SetText(p::Body, u"text of another family");
            item->Save();
        }
    }
    /// Runs a program; what it says on both streams, with its exit code at the end.
    std::string Run(const std::string& command)
    {
        const auto output = folder / "said";
        const int code = std::system((command + " >'" + output.string() + "' 2>&1").c_str());
        return ReadText(output) + "exit " + std::to_string(code);
    }

    const std::string m_rtf =
        "{\\rtf1\\ansi\\ansicpg1252\\pard a text that repeats: a text that repeats.}\r\n";
    const std::string m_large = std::string(500'000, '\x01') + "end of it";
};

TEST_F(ComponentOtherReaders, ReadpstFindsEveryItem)
{
    if (!IsInstalled("readpst"))
        GTEST_SKIP() << "readpst is not installed";
    const auto out = folder / "readpst";
    std::filesystem::create_directory(out);
    // One job: several at once write over each other's files.
    EXPECT_EQ(Run("readpst -j 0 -D -S -e -q -o '" + out.string() + "' '" + StorePath().string() + "'"),
              "exit 0");
    const auto mails = ReadAll(out, ".eml");
    EXPECT_EQ(Count(mails, "Subject: one of many"), 500u);
    EXPECT_EQ(Count(mails, "the plain body"), 1u);
    EXPECT_EQ(Count(mails, "small.txt"), 2u);
    EXPECT_EQ(Count(mails, "Date: Wed, 15 Mar 2023 06:00:00"), 1u);
    EXPECT_EQ(Count(mails, "the inner body"), 1u);
    EXPECT_EQ(Count(mails, "of the web"), 1u);
    EXPECT_EQ(Count(mails, "charset=\"windows-1251\""), 1u);
    EXPECT_EQ(Count(ReadAll(out, ".vcf"), "jane@example.com"), 1u);
    EXPECT_EQ(Count(ReadAll(out, ".ics"), "20230316T120000Z"), 1u);
}

TEST_F(ComponentOtherReaders, PffexportExportsEverythingWithoutComplaint)
{
    if (!IsInstalled("pffexport") || !IsInstalled("pffinfo"))
        GTEST_SKIP() << "pffexport is not installed";
    const auto out = folder / "pff";
    const auto said = Run("pffexport -m all -t '" + out.string() + "' '" + StorePath().string() + "'");
    EXPECT_EQ(Count(said, "nable to"), 0u) << said;
    EXPECT_EQ(Count(said, "libpff_"), 0u) << said;
    EXPECT_TRUE(said.ends_with("Export completed.\n\nexit 0") || said.ends_with("exit 0")) << said;
    const std::filesystem::path exported = out.string() + ".export";
    EXPECT_EQ(ReadAll(exported, "large.bin"), m_large);
    EXPECT_EQ(ReadAll(exported, "small.txt"), "small contents");
    EXPECT_EQ(Count(ReadAll(exported, "Message.txt"), "the inner body"), 1u);
    // The program ends the file with a NUL.
    EXPECT_EQ(ReadAll(exported, "Message.rtf"), m_rtf + '\0');
    EXPECT_EQ(Count(ReadAll(exported, "Message.html"), "\xCF\xF0\xE8\xE2\xE5\xF2 of the web"), 1u);
    EXPECT_EQ(ReadAll(exported, "ContactPicture.jpg"), "\xFF\xD8\xFF picture of Kim");
    EXPECT_EQ(Count(ReadAll(exported, "OutlookHeaders.txt"), "one of many"), 500u);
    EXPECT_EQ(Count(ReadAll(exported, "OutlookHeaders.txt"), kRussian), 1u) << "whole, from its first letter";
    EXPECT_EQ(Count(ReadAll(exported, "Contact.txt"), "jane@example.com"), 1u);
    EXPECT_EQ(Count(ReadAll(exported, "Appointment.txt"), "Mar 16, 2023 12:00:00"), 1u);
    EXPECT_NE(Run("pffinfo '" + StorePath().string() + "'").find("Subtree"), std::string::npos);
}

}  // namespace
}  // namespace pastille::tests
