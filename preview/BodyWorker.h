#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "preview/BodyReader.h"
#include "preview/PreviewStore.h"

namespace pastille::preview {

/// Which body is wanted. `number` is that of the item in its folder, from 1.
struct BodyRequest {
    std::uint64_t id = 0;  ///< told with the answer
    std::shared_ptr<CPreviewStore> store{};
    std::u16string folderKey{};
    std::int32_t number = 0;
    bool asText = false;  ///< HTML is wanted as its text
};

/// Reads bodies, and the images in them, on a thread of its own. Only the last body asked for is read; what
/// was under way for another one ends soon.
class CBodyWorker {
public:
    /// Both are called on the worker's thread. No body comes of an item that cannot be read.
    using BodyReady = std::function<void(std::uint64_t id, MailBody body)>;
    /// `image` is empty when there is no such image.
    using ImageReady = std::function<void(std::uint64_t ticket, std::vector<std::byte> image)>;

    CBodyWorker(BodyReady bodyReady, ImageReady imageReady);
    ~CBodyWorker();
    CBodyWorker(const CBodyWorker&) = delete;
    CBodyWorker& operator=(const CBodyWorker&) = delete;

    void AskBody(BodyRequest request);
    /// Lets go of every store; nothing that was asked for comes any more.
    void Forget() { AskBody({}); }
    /// An image of the body of that id, by the content id in its URL.
    void AskImage(std::uint64_t id, std::u16string contentId, std::uint64_t ticket);

private:
    struct ImageRequest {
        std::uint64_t id;
        std::u16string contentId;
        std::uint64_t ticket;
    };
    class CReading;

    void Work();

    BodyReady m_bodyReady;
    ImageReady m_imageReady;
    std::mutex m_mutex;
    std::condition_variable m_asked;
    std::optional<BodyRequest> m_request;
    std::deque<ImageRequest> m_images;
    /// Something newer was asked for, or the end has come.
    std::atomic<bool> m_isSuperseded = false;
    bool m_isEnding = false;
    std::thread m_thread;
};

}  // namespace pastille::preview
