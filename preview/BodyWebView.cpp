#include "preview/BodyWebView.h"

#include <QAction>
#include <QBuffer>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPointer>
#include <QWebEngineCertificateError>
#include <QWebEngineClientCertificateSelection>
#include <QWebEngineCookieStore>
#include <QWebEngineDownloadRequest>
#include <QWebEngineFullScreenRequest>
#include <QWebEngineHistory>
#include <QWebEngineNotification>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineQuotaRequest>
#include <QWebEngineRegisterProtocolHandlerRequest>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInfo>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <QWebEngineUrlSchemeHandler>

#include <chrono>
#include <initializer_list>
#include <map>
#include <mutex>
#include <span>
#include <utility>

#include "preview/BodyImages.h"

namespace pastille::preview {
namespace {

constexpr char kBodyScheme[] = "pastille-body";
constexpr char kImageScheme[] = "cid";
/// A process that has not taken a document by then, as it hangs in an earlier one, is left behind for a new
/// one.
constexpr auto kPatience = std::chrono::seconds(5);

/// Both schemes must be known before the engine starts, and once only.
void RegisterSchemes()
{
    static std::once_flag isDone;
    std::call_once(isDone, [] {
        for (const char* name : {kBodyScheme, kImageScheme}) {
            QWebEngineUrlScheme scheme(name);
            scheme.setSyntax(QWebEngineUrlScheme::Syntax::Path);
            scheme.setFlags(QWebEngineUrlScheme::SecureScheme);
            QWebEngineUrlScheme::registerScheme(scheme);
        }
    });
}

void RefuseEverything(QWebEngineSettings& settings)
{
    using Settings = QWebEngineSettings;
    for (const auto attribute : {Settings::JavascriptEnabled,
                                 Settings::JavascriptCanOpenWindows,
                                 Settings::JavascriptCanAccessClipboard,
                                 Settings::JavascriptCanPaste,
                                 Settings::AllowWindowActivationFromJavaScript,
                                 Settings::PluginsEnabled,
                                 Settings::PdfViewerEnabled,
                                 Settings::LocalStorageEnabled,
                                 Settings::LocalContentCanAccessRemoteUrls,
                                 Settings::LocalContentCanAccessFileUrls,
                                 Settings::HyperlinkAuditingEnabled,
                                 Settings::DnsPrefetchEnabled,
                                 Settings::WebGLEnabled,
                                 Settings::Accelerated2dCanvasEnabled,
                                 Settings::ErrorPageEnabled,
                                 Settings::AutoLoadIconsForPage,
                                 Settings::TouchIconsEnabled,
                                 Settings::FullScreenSupportEnabled,
                                 Settings::ScreenCaptureEnabled,
                                 Settings::AllowRunningInsecureContent,
                                 Settings::AllowGeolocationOnInsecureOrigins,
                                 Settings::NavigateOnDropEnabled,
                                 Settings::FocusOnNavigationEnabled})
        settings.setAttribute(attribute, false);
    settings.setAttribute(Settings::PlaybackRequiresUserGesture, true);
    settings.setAttribute(Settings::WebRTCPublicInterfacesOnly, true);
    settings.setUnknownUrlSchemePolicy(Settings::DisallowUnknownUrlSchemes);
}

/// Everything after the scheme: a "?" and a "#" are characters as others in a content id.
QString ContentIdOf(const QUrl& url)
{
    const QByteArray encoded = url.toEncoded();
    return QString::fromUtf8(QByteArray::fromPercentEncoding(encoded.mid(encoded.indexOf(':') + 1)));
}

void KeepNothing(QWebEngineProfile& profile)
{
    profile.setHttpCacheType(QWebEngineProfile::NoCache);
    profile.setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile.setSpellCheckEnabled(false);
    profile.cookieStore()->setCookieFilter([](const QWebEngineCookieStore::FilterRequest&) { return false; });
    profile.setNotificationPresenter([](std::unique_ptr<QWebEngineNotification>) {});
    QObject::connect(&profile, &QWebEngineProfile::downloadRequested,
                     [](QWebEngineDownloadRequest* download) { download->cancel(); });
}

}  // namespace

/// Lets the document and the images of its own mail pass, and refuses every other request.
class CBodyWebView::CGate final : public QWebEngineUrlRequestInterceptor {
public:
    void interceptRequest(QWebEngineUrlRequestInfo& info) override
    {
        const QString scheme = info.requestUrl().scheme();
        const bool isImage =
            info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeImage &&
            (scheme == QLatin1StringView(kImageScheme) || scheme == QLatin1StringView("data"));
        const bool isDocument = info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeMainFrame &&
                                scheme == QLatin1StringView(kBodyScheme);
        if (!isImage && !isDocument)
            info.block(true);
    }
};

/// Gives out the present document, once, and the images that the owner of the view has for it.
class CBodyWebView::CSource final : public QWebEngineUrlSchemeHandler {
public:
    explicit CSource(ImageWanted imageWanted) : m_imageWanted(std::move(imageWanted)) {}

    /// Returns the document's URL, which no other document has.
    QUrl SetDocument(QByteArray document)
    {
        m_images.clear();
        m_document = std::move(document);
        m_isGiven = false;
        return m_url = QUrl(QStringLiteral("%1:%2").arg(QLatin1StringView(kBodyScheme)).arg(++m_number));
    }
    /// The same document once more.
    QUrl Again() { return SetDocument(std::move(m_document)); }

    void requestStarted(QWebEngineUrlRequestJob* job) override
    {
        const QUrl url = job->requestUrl();
        if (job->requestMethod() != "GET")
            job->fail(QWebEngineUrlRequestJob::RequestDenied);
        else if (url.scheme() == QLatin1StringView(kImageScheme))
            AskForImage(job, ContentIdOf(url));
        else if (url == m_url && !std::exchange(m_isGiven, true))
            Reply(job, "text/html; charset=utf-8", m_document);
        else
            job->fail(QWebEngineUrlRequestJob::RequestDenied);
    }

    void GiveImage(std::uint64_t ticket, std::span<const std::byte> image)
    {
        const auto found = m_images.find(ticket);
        const QPointer<QWebEngineUrlRequestJob> job = found == m_images.end() ? nullptr : found->second;
        if (found != m_images.end())
            m_images.erase(found);
        if (!job)
            return;
        const std::string_view type = ImageTypeOf(image);
        if (type.empty())
            job->fail(QWebEngineUrlRequestJob::UrlNotFound);
        else
            Reply(job, QByteArray(type.data(), static_cast<qsizetype>(type.size())),
                  QByteArray(reinterpret_cast<const char*>(image.data()),
                             static_cast<qsizetype>(image.size())));
    }

private:
    void AskForImage(QWebEngineUrlRequestJob* job, const QString& contentId)
    {
        constexpr std::size_t kMostAtATime = 500;
        if (m_images.size() >= kMostAtATime) {
            job->fail(QWebEngineUrlRequestJob::RequestDenied);
            return;
        }
        const std::uint64_t ticket = ++m_ticket;
        m_images.emplace(ticket, job);
        m_imageWanted(contentId, ticket);
    }

    static void Reply(QWebEngineUrlRequestJob* job, const QByteArray& type, const QByteArray& content)
    {
        auto* const bytes = new QBuffer(job);
        bytes->setData(content);
        job->reply(type, bytes);
    }

    ImageWanted m_imageWanted;
    QUrl m_url;
    QByteArray m_document;
    bool m_isGiven = false;
    std::uint64_t m_number = 0;
    std::uint64_t m_ticket = 0;
    std::map<std::uint64_t, QPointer<QWebEngineUrlRequestJob>> m_images;
};

/// A page that goes nowhere but where its view sends it, and that neither asks nor tells the user anything.
class CBodyWebView::CPage final : public QWebEnginePage {
public:
    CPage(QWebEngineProfile* profile, QObject* parent) : QWebEnginePage(profile, parent)
    {
        RefuseEverything(*settings());
        connect(this, &QWebEnginePage::featurePermissionRequested, this,
                [this](const QUrl& origin, Feature feature) {
                    setFeaturePermission(origin, feature, PermissionDeniedByUser);
                });
        connect(this, &QWebEnginePage::fullScreenRequested, this,
                [](QWebEngineFullScreenRequest request) { request.reject(); });
        connect(this, &QWebEnginePage::quotaRequested, this,
                [](QWebEngineQuotaRequest request) { request.reject(); });
        connect(this, &QWebEnginePage::registerProtocolHandlerRequested, this,
                [](QWebEngineRegisterProtocolHandlerRequest request) { request.reject(); });
        connect(this, &QWebEnginePage::certificateError, this,
                [](QWebEngineCertificateError error) { error.rejectCertificate(); });
        connect(this, &QWebEnginePage::selectClientCertificate, this,
                [](QWebEngineClientCertificateSelection selection) { selection.selectNone(); });
        connect(this, &QWebEnginePage::loadFinished, this, [this] { m_isLoading = false; });
    }

    /// Goes to a URL, which must be the next one that is asked about.
    void Go(const QUrl& url)
    {
        m_awaited = url;
        m_isLoading = true;
        load(url);
    }
    bool IsLoading() const { return m_isLoading; }

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override
    {
        return isMainFrame && type == NavigationTypeTyped && !url.isEmpty() &&
               url == std::exchange(m_awaited, {});
    }
    QWebEnginePage* createWindow(WebWindowType) override { return nullptr; }
    QStringList chooseFiles(FileSelectionMode, const QStringList&, const QStringList&) override { return {}; }
    void javaScriptAlert(const QUrl&, const QString&) override {}
    bool javaScriptConfirm(const QUrl&, const QString&) override { return false; }
    bool javaScriptPrompt(const QUrl&, const QString&, const QString&, QString*) override { return false; }
    // What a mail is refused is nobody's business on the terminal.
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int, const QString&) override
    {
    }

private:
    QUrl m_awaited;
    bool m_isLoading = false;
};

CBodyWebView::CBodyWebView(QWidget* parent, ImageWanted imageWanted, std::function<void()> restarted)
    : QWebEngineView(parent), m_restarted(std::move(restarted))
{
    RegisterSchemes();
    m_gate = std::make_unique<CGate>();
    m_source = std::make_unique<CSource>(std::move(imageWanted));
    m_profile = std::make_unique<QWebEngineProfile>();
    RefuseEverything(*m_profile->settings());
    KeepNothing(*m_profile);
    m_profile->setUrlRequestInterceptor(m_gate.get());
    for (const char* scheme : {kBodyScheme, kImageScheme})
        m_profile->installUrlSchemeHandler(scheme, m_source.get());
    m_patience.setSingleShot(true);
    m_patience.setInterval(kPatience);
    connect(&m_patience, &QTimer::timeout, this, [this] {
        if (m_page->IsLoading())
            LoadAnew();
    });
    setAcceptDrops(false);
    MakePage();
}

CBodyWebView::~CBodyWebView()
{
    // A page must be gone before its profile.
    delete m_page;
}

void CBodyWebView::MakePage()
{
    auto* const old = m_page;
    m_page = new CPage(m_profile.get(), this);
    setPage(m_page);
    delete old;
    // From then on a process lays this document out, however long its images take.
    connect(m_page, &QWebEnginePage::urlChanged, &m_patience, &QTimer::stop);
    connect(m_page, &QWebEnginePage::renderProcessTerminated, this, [this, page = m_page] {
        // The document that it died of is not tried again.
        QTimer::singleShot(0, this, [this, page] {
            if (page == m_page)
                ShowDocument({}, m_background);
        });
    });
}

void CBodyWebView::ShowDocument(QByteArray document, const QColor& background)
{
    m_background = background;
    m_source->SetDocument(std::move(document));
    if (m_page->IsLoading())
        MakePage();
    Load();
    m_patience.start();
}

void CBodyWebView::Load()
{
    m_page->setBackgroundColor(m_background);
    m_page->history()->clear();
    m_page->Go(m_source->Again());
}

void CBodyWebView::LoadAnew()
{
    m_restarted();
    MakePage();
    Load();
}

void CBodyWebView::GiveImage(std::uint64_t ticket, const std::vector<std::byte>& image)
{
    m_source->GiveImage(ticket, image);
}

void CBodyWebView::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    for (const auto action : {QWebEnginePage::Copy, QWebEnginePage::SelectAll})
        menu.addAction(m_page->action(action));
    menu.exec(event->globalPos());
}

}  // namespace pastille::preview
