#pragma once

#include <QWidget>

#include <cstdint>
#include <memory>
#include <string>

#include "preview/BodyReader.h"
#include "preview/PreviewStore.h"

class QPlainTextEdit;
class QStackedLayout;

namespace pastille::preview {

class CBodyWebView;
class CBodyWorker;

/// The right lower pane: the body of the selected mail. Nothing in a mail reaches anything outside the mail.
/// Where the web engine cannot run, the text of the body is shown.
class CDisplayBody final : public QWidget {
    Q_OBJECT

public:
    explicit CDisplayBody(QWidget* parent);
    ~CDisplayBody() override;

    /// Shows a blank page; a body still being read does not come any more.
    void ShowBlank();
    /// Shows the body of the item of that number (from 1) of the folder. Returns at once; the last request
    /// wins. Where nothing can be read, what was shown stays.
    void ShowBody(std::shared_ptr<CPreviewStore> store, const std::u16string& folderKey, std::int32_t number);

protected:
    void changeEvent(QEvent* event) override;

private:
    void MakeSurface();
    void Show(MailBody body);
    void ShowInText();
    void ShowInWeb();

    QStackedLayout* m_surfaces = nullptr;
    CBodyWebView* m_web = nullptr;     ///< from the first body on
    QPlainTextEdit* m_text = nullptr;  ///< in place of m_web
    MailBody m_shown;
    std::uint64_t m_request = 0;       ///< id of the last one
    std::uint64_t m_shownRequest = 0;  ///< id of that of `m_shown`
    std::unique_ptr<CBodyWorker> m_worker;
};

}  // namespace pastille::preview
