#include "tests/preview/BodyPane.h"

#include <QPlainTextEdit>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <QtTest/QTest>

namespace pastille::tests {

StoreMessage HtmlMail(std::string_view html, std::u16string_view plain)
{
    StoreMessage mail{
        .properties = {Binary(format::pid::kHtml, html), Number(format::pid::kInternetCodepage, 65001)}};
    if (!plain.empty())
        mail.properties.push_back(Text(format::pid::kBody, plain));
    return mail;
}

CBodyPane::CBodyPane(std::vector<StoreMessage> mails, platform::IFileSystem& files)
    : m_component(files, m_folder.Path() / "profiles")
{
    const auto path = m_folder.Path() / "store.pst";
    StoreDescription description;
    description.folders = {{.name = u"Mails", .messages = std::move(mails)}};
    CBuiltStore(description).WriteTo(path);
    m_store = std::make_shared<preview::CPreviewStore>(m_component, path, "windows-1252");
    {
        preview::CPreviewStore::CUse use(*m_store);
        m_key = use.Add(use.Root()->GetFolders()->GetFolder(std::u16string(u"Mails")), u"\\Mails");
    }
    CPerson::OnUi([this] {
        m_view = std::make_unique<preview::CDisplayBody>(nullptr);
        m_view->resize(600, 400);
        m_view->show();
    });
}

CBodyPane::~CBodyPane()
{
    Close();
    // What still reads ends by itself.
    EXPECT_TRUE(CPerson::WaitUntil([this] { return m_store.use_count() == 1; }));
}

void CBodyPane::Close()
{
    CPerson::OnUi([this] { m_view.reset(); });
}

QWebEngineView* CBodyPane::Web()
{
    return m_view->findChild<QWebEngineView*>();
}

void CBodyPane::Asks(std::int32_t number)
{
    CPerson::OnUi([&] { m_view->ShowBody(m_store, m_key, number); });
}

QString CBodyPane::Text()
{
    if (auto* const text = m_view->findChild<QPlainTextEdit*>())
        return text->toPlainText();
    // The answer comes later: each look sees that of an earlier one.
    if (auto* const view = Web())
        view->page()->toPlainText([this](const QString& text) { m_text = text; });
    return m_text;
}

bool CBodyPane::Shows(const QString& text)
{
    const bool shows = CPerson::WaitUntil([&] { return Text() == text; });
    EXPECT_TRUE(shows) << "shown: " << CPerson::OnUi([this] { return Text().left(500); }).toStdString();
    return shows;
}

void CBodyPane::Clicks()
{
    CPerson::OnUi([this] {
        auto* const view = Web();
        QTest::mouseClick(view->focusProxy(), Qt::LeftButton, {}, view->rect().center());
    });
}

bool CBodyPane::IsColoured(const QColor& colour)
{
    return CPerson::WaitUntil([&] {
        const QImage picture = m_view->grab().toImage();
        return picture.pixelColor(picture.rect().center()) == colour;
    });
}

}  // namespace pastille::tests
