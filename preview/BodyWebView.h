#pragma once

#include <QByteArray>
#include <QColor>
#include <QTimer>
#include <QUrl>
#include <QWebEngineView>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class QWebEngineProfile;

namespace pastille::preview {

/// Shows one HTML document at a time and nothing besides. No script runs, no link leads anywhere, nothing is
/// kept on disk, and nothing is asked of anyone but its owner, who is asked for the images of the mail.
/// May only be made where CanRunBodyEngine says so.
class CBodyWebView final : public QWebEngineView {
    Q_OBJECT

public:
    /// Asked for an image by the content id in its URL; the answer is GiveImage with that ticket, soon or
    /// later.
    using ImageWanted = std::function<void(const QString& contentId, std::uint64_t ticket)>;

    /// `restarted`: the images of the present document are wanted anew, with other tickets.
    CBodyWebView(QWidget* parent, ImageWanted imageWanted, std::function<void()> restarted);
    ~CBodyWebView() override;

    /// Shows a document (HTML in UTF-8) in place of the present one. `background`: what is seen until it
    /// comes, and around it.
    void ShowDocument(QByteArray document, const QColor& background);
    /// Empty bytes, and bytes that are no image: there is no such image. A ticket of an earlier document is
    /// ignored.
    void GiveImage(std::uint64_t ticket, const std::vector<std::byte>& image);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    class CSource;
    class CGate;
    class CPage;

    void MakePage();
    void Load();
    void LoadAnew();

    std::unique_ptr<QWebEngineProfile> m_profile;
    std::unique_ptr<CGate> m_gate;
    std::unique_ptr<CSource> m_source;
    CPage* m_page = nullptr;
    std::function<void()> m_restarted;
    QColor m_background;
    QTimer m_patience;
};

}  // namespace pastille::preview
