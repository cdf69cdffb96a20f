#include <gtest/gtest.h>

#include <QApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "tests/preview/BodyPane.h"

namespace pastille::tests {
namespace {

/// Where a mail must not get to; tells of every connection.
class CForeignServer {
public:
    CForeignServer() { m_server.listen(QHostAddress::LocalHost); }
    quint16 Port() const { return m_server.serverPort(); }
    std::string Url() const { return "http://127.0.0.1:" + std::to_string(Port()); }
    /// What was asked first; "" when nobody came for a while.
    std::string Visitor(int patienceMs)
    {
        if (!m_server.hasPendingConnections() && !m_server.waitForNewConnection(patienceMs))
            return {};
        const std::unique_ptr<QTcpSocket> socket(m_server.nextPendingConnection());
        socket->waitForReadyRead(500);
        return "a connection: " + socket->readAll().left(200).toStdString();
    }

private:
    QTcpServer m_server;
};

/// Documents that reach for URL; each "@" becomes the server's address and the number of the row.
constexpr auto kReaching = std::to_array<std::string_view>({
    "<img src='@'>",
    "<img srcset='@ 1x, @x 2x'><picture><source srcset='@'><img></picture>",
    "<body background='@'><table background='@'><td background='@'>",
    "<div style='background:url(@)'></div><ul style='list-style-image:url(@)'><li>x</ul>",
    "<style>@import '@'; @import url(@);</style>",
    "<style>@font-face{font-family:f;src:url(@)}body{font-family:f;cursor:url(@),auto}</style>",
    "<style>p::before{content:url(@)}p{mask-image:url(@);border-image:url(@);filter:url(@#f)}</style><p>x",
    "<iframe src='@'></iframe>",
    "<iframe srcdoc=\"<img src='@'><link rel=preconnect href='@'><link rel=stylesheet href='@'>\"></iframe>",
    "<iframe srcdoc='&lt;link rel=preconnect href=\"@\">'></iframe>",
    "<frameset><frame src='@'></frameset>",
    "<object data='@'></object><embed src='@'><applet code='@' archive='@'></applet>",
    "<object type='text/html' data='data:text/html,<img src=\"@\">'></object>",
    "<portal src='@'></portal>",
    "<link rel=stylesheet href='@'><link rel=icon href='@'><link rel=manifest href='@'>",
    "<link rel=preload as=image href='@'><link rel=modulepreload href='@'><link rel=import href='@'>",
    "<link rel=prefetch href='@'><link rel=prerender href='@'><link rel=next href='@'>",
    "<link rel=preconnect href='@'><LINK rel=dns-prefetch href='@'>",
    "<link\nrel=preconnect href='@'><link/rel=preconnect href='@'><svg><link rel=preconnect href='@'></svg>",
    "<template><link rel=preconnect href='@'></template><noscript><link rel=preconnect href='@'></noscript>",
    "<meta http-equiv=refresh content='0;url=@'>",
    "<meta http-equiv=refresh content='0;@'><meta http-equiv=Link content='<@>; rel=preconnect'>",
    "<meta http-equiv=Content-Security-Policy content=\"default-src *; report-uri @\"><img src='@'>",
    "<meta http-equiv=x-dns-prefetch-control content=on><a href='@'>x</a>",
    "<base href='@/'><img src='x.png'><a href='y' autofocus>x</a>",
    "<form id=f action='@'><input autofocus onfocus='f.submit()'><input type=image src='@'></form>",
    "<video src='@' autoplay poster='@'></video><audio src='@' autoplay></audio><video autoplay><source "
    "src='@'>"
    "<track default src='@'></video>",
    "<svg><use href='@#x'/><image href='@' width=9 height=9 /><image xlink:href='@' width=9 height=9 />"
    "<feImage href='@'/></svg>",
    "<svg><style>@import '@';</style><script href='@'/><animate attributeName=href values='@'/></svg>",
    "<script src='@'></script><script>fetch('@');new Image().src='@';location='@'</script>",
    "<script>var x=new XMLHttpRequest();x.open('GET','@');x.send();navigator.sendBeacon('@')</script>",
    "<script>new WebSocket('ws'+'@'.substr(4));new Worker('@');open('@')</script>",
    "<body onload=\"location='@'\"><img src=x onerror=\"location='@'\"><svg onload=\"location='@'\">",
    "<?xml-stylesheet type='text/css' href='@'?><?xml-stylesheet type='text/xsl' href='@'?>",
    "<img src='data:image/svg+xml,<svg xmlns=\"http://www.w3.org/2000/svg\"><image href=\"@\"/></svg>'>",
    "<img src='file:///etc/passwd'><img src='ftp@'><img src='filesystem:@'><img src='blob:@'>",
    "<html manifest='@'><a href='@' ping='@' download>x</a><math href='@'>x</math>",
    "<input type=image src='@'><img lowsrc='@' dynsrc='@' longdesc='@' src=data:,x><bgsound src='@'>",
});

std::string Reaching(std::string_view document, const std::string& url)
{
    std::string made(document);
    for (std::size_t at = 0; (at = made.find('@', at)) != std::string::npos;) {
        // "@import" and "@font-face" are the document's own.
        if (made.compare(at, 7, "@import") == 0 || made.compare(at, 5, "@font") == 0) {
            ++at;
            continue;
        }
        made.replace(at, 1, url);
        at += url.size();
    }
    return made;
}

TEST(BodyReachTest, NothingInAMailReachesAnythingOutsideIt)
{
    CForeignServer server;
    std::vector<StoreMessage> mails;
    for (std::size_t i = 0; i < kReaching.size(); ++i)
        mails.push_back(HtmlMail(Reaching(kReaching[i], server.Url() + "/" + std::to_string(i + 1)) +
                                 "<p>Row " + std::to_string(i + 1) + "."));
    CBodyPane pane(std::move(mails));
    for (std::size_t i = 0; i < kReaching.size(); ++i) {
        pane.Asks(static_cast<std::int32_t>(i + 1));
        const auto end = QStringLiteral("Row %1.").arg(i + 1);
        EXPECT_TRUE(CPerson::WaitUntil([&] { return pane.Text().endsWith(end); })) << i + 1;
        EXPECT_EQ(server.Visitor(100), "") << i + 1;
    }
    EXPECT_EQ(server.Visitor(1500), "");
    // The server can be reached.
    QTcpSocket control;
    control.connectToHost(QStringLiteral("127.0.0.1"), server.Port());
    EXPECT_NE(server.Visitor(5000), "");
}

TEST(BodyReachTest, WhatTheUserClicksOpensNothing)
{
    CForeignServer server;
    const std::string style = " style='display:block;width:600px;height:400px;background:#888'";
    const std::string url = server.Url();
    CBodyPane pane(
        {HtmlMail("<body style='margin:0'><a" + style + " href='" + url + "' ping='" + url + "'>link</a>"),
         HtmlMail("<body style='margin:0'><a" + style + " target=_blank href='" + url + "'>link</a>"),
         HtmlMail("<body style='margin:0'><a" + style + " download href='" + url + "'>link</a>"),
         HtmlMail("<body style='margin:0'><a" + style + " href=''>link</a>"),
         HtmlMail("<body style='margin:0'><a" + style + " href='file:///etc/passwd'>link</a>"),
         HtmlMail("<body style='margin:0'><form method=post action='" + url + "'><button" + style +
                  ">link</button></form>"),
         HtmlMail("<body style='margin:0'><input type=file" + style + ">link")});
    const auto windows = CPerson::OnUi([] { return QApplication::topLevelWidgets().size(); });
    for (std::int32_t number = 1; number <= 7; ++number) {
        SCOPED_TRACE(number);
        pane.Asks(number);
        ASSERT_TRUE(pane.IsColoured(QColor(0x88, 0x88, 0x88)));
        pane.Clicks();
        EXPECT_EQ(server.Visitor(400), "");
        pane.Shows(QStringLiteral("link"));
        EXPECT_EQ(CPerson::OnUi([] { return QApplication::topLevelWidgets().size(); }), windows);
    }
}

}  // namespace
}  // namespace pastille::tests
