#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "preview/BodyReader.h"
#include "preview/Job.h"
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
/// was under way for another one ends soon. Nothing waits for a read that hangs, not even the end: the thread
/// owns what it uses and goes on by itself.
class CBodyWorker {
public:
    /// Both are called on the windows' thread, as long as this object is there. No body comes of an item that
    /// cannot be read.
    using BodyReady = std::function<void(std::uint64_t id, MailBody body)>;
    /// Each image asked for is answered. `image` is empty when there is none, or when it is not wanted any
    /// more.
    using ImageReady = std::function<void(std::uint64_t ticket, const std::vector<std::byte>& image)>;

    /// The receiver, an object of the windows' thread, must outlive this one.
    CBodyWorker(QObject& receiver, BodyReady bodyReady, ImageReady imageReady);
    ~CBodyWorker();
    CBodyWorker(const CBodyWorker&) = delete;
    CBodyWorker& operator=(const CBodyWorker&) = delete;

    void AskBody(BodyRequest request);
    /// Lets go of every store; no body that was asked for comes any more.
    void Forget() { AskBody({}); }
    /// An image of the body of that id, by the content id in its URL.
    void AskImage(std::uint64_t id, std::u16string contentId, std::uint64_t ticket);
    /// The body that is shown is laid out anew and its images will be asked for again: those asked for so far
    /// are not wanted, and what was read of them does not count.
    void RestartImages();

private:
    class CRequests;
    class CReading;

    void Start();
    void Refuse(const std::vector<std::uint64_t>& tickets) const;
    static void Work(CRequests& requests, IJobOwner& owner, const BodyReady& bodyReady,
                     const ImageReady& imageReady);

    BodyReady m_bodyReady;
    ImageReady m_imageReady;
    std::shared_ptr<CRequests> m_requests;
    CJob m_job;
    bool m_isWorking = false;
};

}  // namespace pastille::preview
