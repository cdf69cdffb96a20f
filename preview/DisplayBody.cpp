#include "preview/DisplayBody.h"

#include <QEvent>
#include <QPlainTextEdit>
#include <QStackedLayout>

#include <utility>
#include <vector>

#include "preview/BodyDocument.h"
#include "preview/BodyEngine.h"
#include "preview/BodyWebView.h"
#include "preview/BodyWorker.h"

namespace pastille::preview {
CDisplayBody::CDisplayBody(QWidget* parent) : QWidget(parent), m_surfaces(new QStackedLayout(this))
{
    setObjectName(QStringLiteral("CDisplayBody"));
    setAccessibleName(QStringLiteral("Body"));
    auto* const blank = new QWidget(this);
    blank->setBackgroundRole(QPalette::Base);
    blank->setAutoFillBackground(true);
    m_surfaces->addWidget(blank);
}

CDisplayBody::~CDisplayBody() = default;

void CDisplayBody::MakeSurface()
{
    if (m_worker)
        return;
    QWidget* surface = nullptr;
    if (CanRunBodyEngine()) {
        surface = m_web = new CBodyWebView(
            this,
            [this](const QString& contentId, std::uint64_t ticket) {
                m_worker->AskImage(m_shownRequest, contentId.toStdU16String(), ticket);
            },
            [this] { m_worker->RestartImages(); });
    } else {
        surface = m_text = new QPlainTextEdit(this);
        m_text->setReadOnly(true);
        m_text->setUndoRedoEnabled(false);
        m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    }
    surface->setAccessibleName(QStringLiteral("Body"));
    m_surfaces->addWidget(surface);
    setFocusProxy(surface);
    m_worker = std::make_unique<CBodyWorker>(
        *this,
        [this](std::uint64_t id, MailBody body) {
            if (id != m_request)
                return;
            m_shownRequest = id;
            Show(std::move(body));
        },
        [this](std::uint64_t ticket, const std::vector<std::byte>& image) {
            m_web->GiveImage(ticket, image);
        });
}

void CDisplayBody::ShowBlank()
{
    ++m_request;
    if (!m_worker)
        return;
    m_worker->Forget();
    Show({});
}

void CDisplayBody::ShowBody(std::shared_ptr<CPreviewStore> store, const std::u16string& folderKey,
                            std::int32_t number)
{
    if (!store)
        return;
    MakeSurface();
    m_worker->AskBody({++m_request, std::move(store), folderKey, number, m_web == nullptr});
}

void CDisplayBody::Show(MailBody body)
{
    m_shown = std::move(body);
    if (m_web != nullptr)
        ShowInWeb();
    else
        ShowInText();
    m_surfaces->setCurrentIndex(1);
}

void CDisplayBody::ShowInWeb()
{
    const bool isHtml = m_shown.kind == BodyKind::Html;
    m_web->ShowDocument(MakeBodyDocument(m_shown, palette(), font()),
                        isHtml ? QColor(Qt::white) : palette().color(QPalette::Base));
}

void CDisplayBody::ShowInText()
{
    QString text = ReadableText(m_shown.text);
    if (m_shown.isCut)
        text += u'\n' + CutNotice();
    m_text->setPlainText(text);
}

void CDisplayBody::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    const bool isOfColours = event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange;
    if (isOfColours && m_web != nullptr && m_shown.kind != BodyKind::Html)
        ShowInWeb();
}

}  // namespace pastille::preview
