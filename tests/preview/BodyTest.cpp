#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "preview/BodyWebView.h"
#include "preview/BodyWorker.h"
#include "tests/preview/BodyPane.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;

StoreMessage OfSize(StoreMessage mail, std::uint32_t bytes)
{
    mail.properties.push_back(Number(pid::kMessageSize, bytes));
    return mail;
}

StoreMessage PlainMail(std::u16string_view text)
{
    return {.properties = {Text(pid::kBody, text)}};
}

/// A mail whose HTML lies in a subnode that is not there.
StoreMessage BrokenMail()
{
    return {.properties = {Behind(pid::kHtml, format::PropertyType::Binary, 0x8105)}};
}

StoreMessage With(StoreMessage mail, StoreProperty property)
{
    mail.properties.push_back(std::move(property));
    return mail;
}

constexpr std::uint32_t kMiB = 1u << 20;
constexpr std::string_view kRtf = "{\\rtf1\\ansi one\\par two}";

TEST(BodyTest, ShowsTheBestBodyThatCanBeRead)
{
    struct Case {
        StoreMessage mail;
        QString shown;
    };
    const std::string lyingHtml =
        "<html><head><meta charset=utf-16><meta http-equiv=content-type "
        "content='text/html; charset=windows-1251'><base href='http://x/'></head>"
        "<body>caf\xC3\xA9 <b>bold</b></body></html>";
    const std::vector<Case> cases{
        {HtmlMail(lyingHtml, u"plain"), QStringLiteral(u"café bold")},
        {PlainMail(u"a <b>x</b> &amp; <script>\r\n  two\n\tthree\rfour</pre><p>five"),
         QStringLiteral("a <b>x</b> &amp; <script>\n  two\n\tthree\nfour</pre><p>five")},
        {{.properties = {Binary(pid::kRtfCompressed, kRtf)}}, QStringLiteral("one\ntwo")},
        {OfSize(HtmlMail("<p>html", u"plain"), 3 * kMiB), QStringLiteral("html")},
        {OfSize(HtmlMail("<p>html", u"plain"), 3 * kMiB + 1), QStringLiteral("plain")},
        {OfSize(HtmlMail("<p>html", u"plain"), 0xFFFFFFFF), QStringLiteral("plain")},
        {OfSize(HtmlMail("<p>ht<b>ml</b> &lt;&eacute;"), 4 * kMiB), QStringLiteral(u"html <é")},
        {OfSize(HtmlMail("<p>small" + std::string(3 * kMiB, ' '), u"plain"), 100), QStringLiteral("plain")},
        {With(BrokenMail(), Text(pid::kBody, u"plain")), QStringLiteral("plain")},
        {{}, QString()},
    };
    std::vector<StoreMessage> mails;
    for (const Case& one : cases)
        mails.push_back(one.mail);
    CBodyPane pane(std::move(mails));
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i + 1);
        pane.Asks(static_cast<std::int32_t>(i + 1));
        pane.Shows(cases[i].shown);
    }
}

TEST(BodyTest, WhatCannotBeReadLeavesTheDocumentAndBlankTakesIt)
{
    CBodyPane pane({PlainMail(u"first"), BrokenMail(), PlainMail(u"third")});
    pane.Asks(1);
    pane.Shows(QStringLiteral("first"));
    for (const std::int32_t number : {2, 0, -1, 4}) {
        pane.Asks(number);
        pane.Shows(QStringLiteral("first"));
    }
    pane.Asks(3);
    pane.Shows(QStringLiteral("third"));
    CPerson::OnUi([&] { pane.View().ShowBlank(); });
    pane.Shows(QString());
}

TEST(BodyTest, OfManyRequestsTheLastWins)
{
    std::vector<StoreMessage> mails;
    for (int i = 1; i <= 200; ++i)
        mails.push_back(HtmlMail("<p>" + std::to_string(i)));
    CBodyPane pane(std::move(mails));
    CPerson::OnUi([&] {
        for (std::int32_t number = 1; number <= 200; ++number)
            pane.Asks(number);
    });
    pane.Shows(QStringLiteral("200"));
    // A blank page asked for while a body is on its way stays blank.
    CPerson::OnUi([&] {
        pane.Asks(7);
        pane.View().ShowBlank();
    });
    pane.Shows(QString());
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    pane.Shows(QString());
}

TEST(BodyTest, LargeAndDeepMailsCostNothingButThemselves)
{
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<div>";
    std::string tables;
    for (int i = 0; i < 10'000; ++i)
        tables += "<table><td><svg><a b=";
    CBodyPane pane({PlainMail(u"before"), HtmlMail(deep), HtmlMail(tables),
                    HtmlMail(std::string(50 * kMiB, '<')), PlainMail(std::u16string(3 * kMiB, u'x')),
                    PlainMail(u"after")});
    for (const std::int32_t number : {2, 3, 4}) {
        SCOPED_TRACE(number);
        pane.Asks(number);
        // However long that one keeps its process busy, the next ones come.
        std::this_thread::sleep_for(std::chrono::seconds(1));
        pane.Asks(6);
        pane.Shows(QStringLiteral("after"));
        pane.Asks(1);
        pane.Shows(QStringLiteral("before"));
    }
    pane.Asks(5);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return pane.Text().startsWith(QStringLiteral("xxx")); }));
    CPerson::OnUi([&] {
        EXPECT_LE(pane.Text().size(), static_cast<qsizetype>(2 * kMiB + 1000));
        EXPECT_TRUE(pane.Text().endsWith(QStringLiteral("beginning is shown here.")))
            << pane.Text().right(80).toStdString();
    });
    pane.Asks(6);
    pane.Shows(QStringLiteral("after"));
}

TEST(BodyTest, AMailThatTheEngineDiesOfIsNotItsEnd)
{
    CBodyPane pane({HtmlMail("<p>deadly"), HtmlMail("<p>next")});
    pane.Asks(1);
    pane.Shows(QStringLiteral("deadly"));
    CPerson::OnUi([&] { ::kill(static_cast<pid_t>(pane.Web()->page()->renderProcessPid()), SIGKILL); });
    pane.Shows(QString());
    pane.Asks(2);
    pane.Shows(QStringLiteral("next"));
}

/// The colour of a PNG, and a name for it.
StoreAttachment Picture(std::u16string_view fileName, const QColor& colour, std::u16string_view contentId)
{
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(colour);
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    image.save(&file, "PNG");
    const auto bytes =
        std::as_bytes(std::span(file.data().constData(), static_cast<std::size_t>(file.size())));
    StoreAttachment attachment{.fileName = std::u16string(fileName),
                               .data = Bytes(bytes.begin(), bytes.end())};
    if (!contentId.empty())
        attachment.properties.push_back(Text(pid::kAttachContentId, contentId));
    return attachment;
}

TEST(BodyTest, ImagesAreThoseOfTheMail)
{
    const auto showing = [](std::string_view url, std::vector<StoreAttachment> attachments) {
        StoreMessage mail =
            HtmlMail("<body style='margin:0;background:#fff'><img alt='' width=600 height=400 src='" +
                     std::string(url) + "'>");
        mail.attachments = std::move(attachments);
        return mail;
    };
    const std::string_view svg =
        "<svg xmlns='http://www.w3.org/2000/svg'><rect width='100%' height='100%'/></svg>";
    const auto svgBytes = std::as_bytes(std::span(svg));
    StoreAttachment drawing = Picture(u"a.png", Qt::black, u"drawing");
    drawing.data = Bytes(svgBytes.begin(), svgBytes.end());
    struct Case {
        StoreMessage mail;
        QColor seen;
    };
    const std::vector<Case> cases{
        {showing("cid:two%40x",
                 {Picture(u"p.png", Qt::red, u"one@x"), Picture(u"p.png", Qt::green, u"<two@x>")}),
         Qt::green},
        // Not to be taken for the parts of an address.
        {showing("cid:a?b%20c#d",
                 {Picture(u"p.png", Qt::red, u"a"), Picture(u"p.png", Qt::green, u"a?b c#d")}),
         Qt::green},
        // Of one that has no content id the file name counts, and of no other.
        {showing("cid:P.png@01D", {Picture(u"p.png", Qt::red, u"other"), Picture(u"p.png", Qt::blue, u"")}),
         Qt::blue},
        // Images of other mails, drawings and what is missing are not seen.
        {showing("cid:two@x", {}), Qt::white},
        {showing("cid:drawing", {drawing}), Qt::white},
    };
    std::vector<StoreMessage> mails{HtmlMail("<body style='background:#888'>")};
    for (const Case& one : cases)
        mails.push_back(one.mail);
    CBodyPane pane(std::move(mails));
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(i + 1);
        pane.Asks(1);
        ASSERT_TRUE(pane.IsColoured(QColor(0x88, 0x88, 0x88)));
        pane.Asks(static_cast<std::int32_t>(i + 2));
        EXPECT_TRUE(pane.IsColoured(cases[i].seen));
        // What comes late would be seen now.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        EXPECT_TRUE(pane.IsColoured(cases[i].seen));
    }
}

TEST(BodyTest, ImagesThatTakeLongAreWaitedFor)
{
    std::vector<std::uint64_t> wanted;
    int restarts = 0;
    std::unique_ptr<preview::CBodyWebView> view;
    CPerson::OnUi([&] {
        view = std::make_unique<preview::CBodyWebView>(
            nullptr, [&](const QString&, std::uint64_t ticket) { wanted.push_back(ticket); },
            [&] { ++restarts; });
        view->show();
        view->ShowDocument("<img src='cid:a'>", Qt::white);
    });
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !wanted.empty(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(5500));
    CPerson::OnUi([&] {
        EXPECT_EQ(wanted.size(), 1u);
        EXPECT_EQ(restarts, 0);
        EXPECT_TRUE(view->page()->isLoading());
        view->GiveImage(wanted.front(), {});
    });
    EXPECT_TRUE(CPerson::WaitUntil([&] { return !view->page()->isLoading(); }));
    CPerson::OnUi([&] { view.reset(); });
}

TEST(BodyTest, ImagesThatAreWantedNoMoreAreAnswered)
{
    CBodyPane pane({});
    std::vector<std::uint64_t> answered;
    QObject receiver;
    receiver.moveToThread(qApp->thread());
    std::unique_ptr<preview::CBodyWorker> worker;
    {
        // Nothing can be read meanwhile.
        const preview::CPreviewStore::CUse use(*pane.Store());
        CPerson::OnUi([&] {
            worker = std::make_unique<preview::CBodyWorker>(
                receiver, [](std::uint64_t, preview::MailBody) {},
                [&](std::uint64_t ticket, const std::vector<std::byte>& image) {
                    answered.push_back(ticket);
                    EXPECT_TRUE(image.empty());
                });
            worker->AskBody({1, pane.Store(), u"none", 1});
            worker->AskImage(1, u"a", 1);
            worker->AskImage(1, u"b", 2);
            worker->AskBody({2, pane.Store(), u"none", 2});
            worker->AskImage(2, u"c", 3);
            worker->RestartImages();
            worker->AskImage(2, u"c", 4);
        });
    }
    EXPECT_TRUE(CPerson::WaitUntil([&] { return answered.size() == 4; }));
    CPerson::OnUi([&] {
        worker.reset();
        EXPECT_EQ(answered, (std::vector<std::uint64_t>{1, 2, 3, 4}));
    });
}

/// A disk whose reads can be made to hang, for seconds at most.
class CHangingDisk {
public:
    CHangingDisk()
    {
        m_files.faults.onSourceRead = [this](std::uint64_t) {
            for (int wait = 0; hangs && wait < 500; ++wait) {
                isHanging = true;
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        };
    }
    platform::IFileSystem& Files() { return m_files; }

    std::atomic<bool> hangs = false;
    std::atomic<bool> isHanging = false;

private:
    CFaultyFileSystem m_files;
};

TEST(BodyTest, AReadThatHangsDoesNotKeepTheViewFromClosing)
{
    CHangingDisk disk;
    CBodyPane pane({HtmlMail("<p>one")}, disk.Files());
    disk.hangs = true;
    pane.Asks(1);
    ASSERT_TRUE(CPerson::WaitUntil([&] { return disk.isHanging.load(); }));
    const auto begin = std::chrono::steady_clock::now();
    pane.Close();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
    disk.hangs = false;
}

/// In a process of its own, where the engine is not there.
TEST(TextOnlyBodyTest, WithoutTheEngineTheTextIsShown)
{
    CBodyPane pane({HtmlMail("<p>one<p><b>two</b><script>three</script><img src='file:///x'>"),
                    PlainMail(u"<b>plain</b>\u0007"), PlainMail(std::u16string(5 * kMiB, u'x')),
                    HtmlMail(std::string(100'000, '<') + "<p>x", u"four")});
    ASSERT_EQ(CPerson::OnUi([&] {
                  pane.Asks(1);
                  return pane.Web();
              }),
              nullptr);
    pane.Shows(QStringLiteral("one\ntwo"));
    pane.Asks(2);
    pane.Shows(QStringLiteral("<b>plain</b>\uFFFD"));
    pane.Asks(3);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return pane.Text().endsWith(QStringLiteral("shown here.")); }));
    pane.Asks(4);
    EXPECT_TRUE(CPerson::WaitUntil([&] { return pane.Text().endsWith(QStringLiteral("<\nx")); }));
}

}  // namespace
}  // namespace pastille::tests
