#include "preview/BodyWorker.h"

#include <exception>
#include <span>
#include <utility>

#include "preview/BodyImages.h"

namespace pastille::preview {
namespace {

/// Bytes of all the images of one body that are read at most.
constexpr std::size_t kMostImageBytes = 200u << 20;
constexpr std::size_t kImagePiece = 1u << 20;

}  // namespace

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

CBodyWorker::CBodyWorker(BodyReady bodyReady, ImageReady imageReady)
    : m_bodyReady(std::move(bodyReady)), m_imageReady(std::move(imageReady)), m_thread([this] { Work(); })
{
}

CBodyWorker::~CBodyWorker()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_isEnding = true;
        m_isSuperseded = true;
    }
    m_asked.notify_one();
    m_thread.join();
}

void CBodyWorker::AskBody(BodyRequest request)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_request = std::move(request);
        m_images.clear();
        m_isSuperseded = true;
    }
    m_asked.notify_one();
}

void CBodyWorker::AskImage(std::uint64_t id, std::u16string contentId, std::uint64_t ticket)
{
    {
        const std::scoped_lock lock(m_mutex);
        m_images.push_back({id, std::move(contentId), ticket});
    }
    m_asked.notify_one();
}

void CBodyWorker::Work()
{
    CReading reading(m_isSuperseded);
    for (;;) {
        std::optional<BodyRequest> request;
        std::optional<ImageRequest> image;
        {
            std::unique_lock lock(m_mutex);
            m_asked.wait(lock, [&] { return m_isEnding || m_request || !m_images.empty(); });
            if (m_isEnding)
                return;
            request = std::exchange(m_request, std::nullopt);
            m_isSuperseded = false;
            if (!request) {
                image = std::move(m_images.front());
                m_images.pop_front();
            }
        }
        // Whatever goes wrong while one mail is read is that mail's failure.
        try {
            if (image) {
                m_imageReady(image->ticket, reading.ReadImage(*image));
            } else if (!request->store) {
                reading.Close();
            } else if (auto body = reading.ReadBody(*request)) {
                m_bodyReady(request->id, std::move(*body));
            }
        } catch (const std::exception&) {
            if (image)
                m_imageReady(image->ticket, {});
        }
    }
}

}  // namespace pastille::preview
