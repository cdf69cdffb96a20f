#include <gtest/gtest.h>

#include "tests/recovery/RecoverySupport.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;
using enum format::Variant;

constexpr std::uint32_t kFourMegabytes = 4 << 20;

FakeItem Recovered(const StoreMessage& mail, StoreFormat format = {},
                   const std::string& codePage = "windows-1252")
{
    StoreDescription description = InInbox({mail}, format);
    description.codePage = codePage;
    CRecoveryScenario scenario(description);
    scenario.settings.codePage = codePage;
    scenario.Run();
    EXPECT_EQ(scenario.CountInLog(u"Status: Recovered"), 1u);
    return scenario.OnlyItem(u"\\Inbox");
}

TEST(HeapBody, ThePlainOneIsTakenBeforeRtf)
{
    const StoreProperty plain = Text(pid::kBody, u"plain");
    const StoreProperty rtf = Binary(pid::kRtfCompressed, "{\\rtf1 \x80\xFF}");
    const StoreProperty html = Binary(pid::kHtml, "<p>");

    EXPECT_EQ(Recovered(BareMail({plain})).Text("Body"), u"plain");
    const FakeItem onlyRtf = Recovered(BareMail({rtf}));
    EXPECT_EQ(onlyRtf.Text("RtfBody"), u"{\\rtf1 \u0080\u00FF}") << "one character per byte";
    EXPECT_FALSE(onlyRtf.Wrote("Body"));
    const FakeItem both = Recovered(BareMail({plain, rtf, html}));
    EXPECT_EQ(both.Text("Body"), u"plain");
    EXPECT_FALSE(both.Wrote("RtfBody"));
    EXPECT_FALSE(Recovered(BareMail({html})).Wrote("Body"));

    StoreProperty damaged = plain;
    damaged.hnid = 0x7FE0;
    const FakeItem without = Recovered(BareMail({damaged, Text(pid::kSubject, u"s")}));
    EXPECT_FALSE(without.Wrote("Body"));
    EXPECT_EQ(without.saves, 1) << "the mail is saved without its body";
}

TEST(SubnodeBody, PlainTextOfA8BitFileIsReadInTheRunsCodePage)
{
    const StoreMessage mail = BareMail({InSubnode(Text(pid::kBody, u"\u0416\u0417"))});
    EXPECT_EQ(Recovered(mail, FormatOf(Ansi), "windows-1251").Text("Body"), u"\u0416\u0417");
}

TEST(SubnodeBody, OfALargeMailOnlyThePlainTextCounts)
{
    const auto mail = [](std::uint32_t size) {
        return BareMail({InSubnode(Text(pid::kBody, u"plain")), Number(pid::kMessageSize, size),
                         InSubnode(Binary(pid::kHtml, "<p>html"))});
    };
    for (const auto variant : {Ansi, Unicode}) {
        EXPECT_EQ(Recovered(mail(kFourMegabytes), FormatOf(variant)).Text("HtmlBody"), u"<p>html");
        const FakeItem large = Recovered(mail(kFourMegabytes + 1), FormatOf(variant));
        EXPECT_EQ(large.Text("Body"), u"plain");
        EXPECT_FALSE(large.Wrote("HtmlBody"));
    }
    EXPECT_EQ(Recovered(mail(5 << 20), FormatOf(Unicode4k)).Text("HtmlBody"), u"<p>html");
    const FakeItem onlyHtml =
        Recovered(BareMail({Number(pid::kMessageSize, 5 << 20), InSubnode(Binary(pid::kHtml, "<p>html")),
                            InSubnode(Text(pid::kBody, u""))}));
    EXPECT_FALSE(onlyHtml.Wrote("HtmlBody"));
}

TEST(SubnodeBody, WithoutHtmlTextThePlainOneIsNext)
{
    const StoreProperty plain = InSubnode(Text(pid::kBody, u"plain"));
    StoreProperty html = Binary(pid::kHtml, "");
    html.hnid = 0x9F3F;  // names no subnode of the mail
    StoreMessage mail = BareMail({plain, html});
    EXPECT_EQ(Recovered(mail).Text("Body"), u"plain");

    mail.subnodes = {{0x9F3F, 0xFFFF0, 0}};  // whose block is nowhere
    const FakeItem recovered = Recovered(mail);
    EXPECT_EQ(recovered.Text("Body"), u"plain");
    EXPECT_FALSE(recovered.Wrote("HtmlBody"));
    EXPECT_FALSE(recovered.Wrote("InternetCodepage"));
}

TEST(SubnodeBody, EachBodyIsReadFromItsOwnPlace)
{
    const StoreProperty heapPlain = Text(pid::kBody, u"small");
    const StoreProperty rtf = InSubnode(Binary(pid::kRtfCompressed, std::string(5000, 'r')));
    const StoreProperty html = InSubnode(Binary(pid::kHtml, "<p>html"));
    const StoreProperty heapHtml = Binary(pid::kHtml, "<p>html");

    const FakeItem besideRtf = Recovered(BareMail({heapPlain, rtf}));
    EXPECT_EQ(besideRtf.Text("Body"), u"small") << "the last body lies in a subnode, this one in the heap";
    EXPECT_FALSE(besideRtf.Wrote("RtfBody")) << "never from a subnode";
    EXPECT_EQ(Recovered(BareMail({heapPlain, rtf, html})).Text("HtmlBody"), u"<p>html");
    EXPECT_EQ(Recovered(BareMail({heapPlain, html})).Text("Body"), u"small")
        << "HTML does not decide where a PST's body lies";
    EXPECT_EQ(Recovered(BareMail({heapPlain, html}), FormatOf(Unicode, true)).Text("HtmlBody"), u"<p>html");
    const FakeItem noBody = Recovered(BareMail({heapHtml, rtf}));
    EXPECT_FALSE(noBody.Wrote("HtmlBody")) << "never from the heap";
    EXPECT_FALSE(noBody.Wrote("Body"));
    EXPECT_FALSE(Recovered(BareMail({html})).Wrote("HtmlBody")) << "the only body of a PST's mail";
    EXPECT_EQ(Recovered(BareMail({html}), FormatOf(Unicode, true)).Text("HtmlBody"), u"<p>html");
}

TEST(SubnodeBody, HtmlIsReadInTheMailsCodePage)
{
    struct Case {
        std::optional<std::uint32_t> stated;
        std::string runCodePage;
        std::u16string text;
        std::int32_t kept;
    };
    const Case cases[] = {
        {1251, "windows-1252", u"\u0416", 1251},         {28592, "windows-1252", u"\u0106", 28592},
        {std::nullopt, "windows-1252", u"\u00C6", 1252}, {std::nullopt, "windows-1251", u"\u0416", 1251},
        {99'999, "windows-1252", u"\u00C6", 1252},
    };
    for (const Case& one : cases) {
        StoreMessage mail =
            BareMail({InSubnode(Text(pid::kBody, u"plain")), InSubnode(Binary(pid::kHtml, "\xC6"))});
        if (one.stated)
            mail.properties.push_back(Number(pid::kInternetCodepage, *one.stated));
        const FakeItem recovered = Recovered(mail, {}, one.runCodePage);
        EXPECT_EQ(recovered.Text("HtmlBody"), one.text) << one.stated.value_or(0) << " " << one.runCodePage;
        EXPECT_EQ(recovered.numbers.at("InternetCodepage"), one.kept);
    }
}

}  // namespace
}  // namespace pastille::tests
