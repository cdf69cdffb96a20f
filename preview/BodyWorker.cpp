#include "preview/BodyWorker.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

#include "preview/BodyImages.h"

namespace pastille::preview {
namespace {

/// Bytes of all the images of one body that are read at most.
constexpr std::size_t kMostImageBytes = 200u << 20;
constexpr std::size_t kImagePiece = 1u << 20;

struct ImageRequest {
    std::uint64_t id;
    std::u16string contentId;
    std::uint64_t ticket;
};

/// What the thread is to do next.
struct Request {
    std::optional<BodyRequest> body{};
    std::optional<ImageRequest> image{};  ///< when there is no body
    bool restartsImages = false;
};

}  // namespace

/// What was asked for and not begun yet. Shared by the owner and the thread.
class CBodyWorker::CRequests {
public:
    /// Each returns the tickets of the images that are not wanted any more.
    std::vector<std::uint64_t> Ask(BodyRequest body)
    {
        return Supersede([&] { m_next.body = std::move(body); });
    }
    std::vector<std::uint64_t> RestartImages()
    {
        return Supersede([&] { m_next.restartsImages = true; });
    }
    void Ask(ImageRequest image)
    {
        {
            const std::scoped_lock lock(m_mutex);
            m_images.push_back(std::move(image));
        }
        m_asked.notify_one();
    }
    void End()
    {
        Supersede([&] { m_isEnding = true; });
    }

    /// Waits for the next request; nothing at the end.
    std::optional<Request> Next()
    {
        std::unique_lock lock(m_mutex);
        m_asked.wait(lock, [&] { return m_isEnding || m_next.body || !m_images.empty(); });
        if (m_isEnding)
            return std::nullopt;
        m_isSuperseded = false;
        Request next = std::exchange(m_next, {});
        if (!next.body) {
            next.image = std::move(m_images.front());
            m_images.pop_front();
        }
        return next;
    }
    /// Whether something newer was asked for than what Next gave last, or the end has come.
    const std::atomic<bool>& IsSuperseded() const { return m_isSuperseded; }

private:
    template <class Change>
    std::vector<std::uint64_t> Supersede(Change change)
    {
        std::vector<std::uint64_t> dropped;
        {
            const std::scoped_lock lock(m_mutex);
            for (const ImageRequest& image : m_images)
                dropped.push_back(image.ticket);
            m_images.clear();
            m_isSuperseded = true;
            change();
        }
        m_asked.notify_one();
        return dropped;
    }

    std::mutex m_mutex;
    std::condition_variable m_asked;
    Request m_next;
    std::deque<ImageRequest> m_images;
    std::atomic<bool> m_isSuperseded = false;
    bool m_isEnding = false;
};

/// What the worker's thread has open: a folder, and the item whose body is shown.
class CBodyWorker::CReading {
public:
    explicit CReading(const std::atomic<bool>& isSuperseded) : m_isSuperseded(isSuperseded) {}
    ~CReading() { Close(); }
    CReading(const CReading&) = delete;
    CReading& operator=(const CReading&) = delete;

    void Close()
    {
        if (m_store) {
            const CPreviewStore::CUse use(*m_store);
            m_images.reset();
            m_item = {};
            m_items = {};
        }
        m_store.reset();
        m_shown = 0;
    }

    std::optional<MailBody> ReadBody(const BodyRequest& request)
    {
        if (m_store != request.store || m_key != request.folderKey || !m_items)
            Open(request);
        StoredBody body;
        {
            const CPreviewStore::CUse use(*m_store);
            auto item = m_items->GetItem(request.number);
            if (!item)
                return std::nullopt;
            body = preview::ReadBody(*item);
            m_images.reset();
            m_item = std::move(item);
            m_shown = request.id;
            m_imageBytes = 0;
        }
        return ToShownBody(std::move(body), request.asText);
    }

    void RestartImages() { m_imageBytes = 0; }

    std::vector<std::byte> ReadImage(const ImageRequest& request)
    {
        if (!m_item || request.id != m_shown)
            return {};
        while (LearnNext())
            if (m_isSuperseded)
                return {};
        auto content = OpenImage(request.contentId);
        std::vector<std::byte> image = content ? ReadAll(*content) : std::vector<std::byte>();
        const CPreviewStore::CUse use(*m_store);
        content.reset();
        return image;
    }

private:
    void Open(const BodyRequest& request)
    {
        Close();
        CPreviewStore::CUse use(*request.store);
        m_items = use.Folder(request.folderKey)->GetItems();
        m_store = request.store;
        m_key = request.folderKey;
    }

    bool LearnNext()
    {
        const CPreviewStore::CUse use(*m_store);
        if (!m_images)
            m_images.emplace(m_item);
        return m_images->LearnNext();
    }

    std::unique_ptr<platform::IByteStream> OpenImage(const std::u16string& contentId)
    {
        const CPreviewStore::CUse use(*m_store);
        const std::int32_t number = m_images->Find(contentId);
        return number == 0 ? nullptr : m_images->Open(number);
    }

    /// All of an image; nothing when it is none, is too large or cannot be read to its end.
    std::vector<std::byte> ReadAll(platform::IByteStream& content)
    try {
        std::vector<std::byte> image;
        while (!m_isSuperseded) {
            const std::size_t done = image.size();
            image.resize(done + kImagePiece);
            const std::size_t got = ReadPiece(content, std::span(image).subspan(done));
            image.resize(done + got);
            m_imageBytes += got;
            if (got == 0)
                return image;
            if (ImageTypeOf(image).empty() || std::cmp_greater(image.size(), kLargestImage) ||
                m_imageBytes > kMostImageBytes)
                break;
        }
        return {};
    } catch (const std::exception&) {
        return {};
    }

    std::size_t ReadPiece(platform::IByteStream& content, std::span<std::byte> into)
    {
        const CPreviewStore::CUse use(*m_store);
        return content.Read(into);
    }

    const std::atomic<bool>& m_isSuperseded;
    std::shared_ptr<CPreviewStore> m_store;
    std::u16string m_key;
    // Of the store: whoever lets go of them holds a CUse.
    writer::CRef<writer::IItemList> m_items;
    writer::CRef<writer::IMessageItem> m_item;
    std::optional<CBodyImages> m_images;
    std::uint64_t m_shown = 0;  ///< id of the request that gave `m_item`
    std::size_t m_imageBytes = 0;
};

CBodyWorker::CBodyWorker(QObject& receiver, BodyReady bodyReady, ImageReady imageReady)
    : m_bodyReady(std::move(bodyReady)),
      m_imageReady(std::move(imageReady)),
      m_requests(std::make_shared<CRequests>()),
      m_job(receiver)
{
}

CBodyWorker::~CBodyWorker()
{
    m_requests->End();
}

void CBodyWorker::AskBody(BodyRequest request)
{
    Refuse(m_requests->Ask(std::move(request)));
    Start();
}

void CBodyWorker::AskImage(std::uint64_t id, std::u16string contentId, std::uint64_t ticket)
{
    m_requests->Ask(ImageRequest{id, std::move(contentId), ticket});
}

void CBodyWorker::RestartImages()
{
    Refuse(m_requests->RestartImages());
}

/// Where the host had no thread left, it may have one the next time.
void CBodyWorker::Start()
{
    if (m_isWorking)
        return;
    m_isWorking = m_job.Start([requests = m_requests, bodyReady = m_bodyReady, imageReady = m_imageReady](
                                  IJobOwner& owner) { Work(*requests, owner, bodyReady, imageReady); });
}

void CBodyWorker::Refuse(const std::vector<std::uint64_t>& tickets) const
{
    for (const std::uint64_t ticket : tickets)
        m_imageReady(ticket, {});
}

void CBodyWorker::Work(CRequests& requests, IJobOwner& owner, const BodyReady& bodyReady,
                       const ImageReady& imageReady)
{
    CReading reading(requests.IsSuperseded());
    while (auto request = requests.Next()) {
        std::optional<MailBody> body;
        std::vector<std::byte> image;
        // Whatever goes wrong while one mail is read is that mail's failure.
        try {
            if (request->restartsImages)
                reading.RestartImages();
            if (request->image)
                image = reading.ReadImage(*request->image);
            else if (request->body->store)
                body = reading.ReadBody(*request->body);
            else
                reading.Close();
        } catch (const std::exception&) {
            // Answered as what is not there.
        }
        if (request->image) {
            owner.Deliver([imageReady, ticket = request->image->ticket, given = std::move(image)] {
                imageReady(ticket, given);
            });
        } else if (body) {
            owner.Deliver([bodyReady, id = request->body->id, read = std::move(*body)]() mutable {
                bodyReady(id, std::move(read));
            });
        }
    }
}

}  // namespace pastille::preview
