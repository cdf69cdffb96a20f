#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>

#include "component/BuiltInComponent.h"
#include "platform/FileSystem.h"
#include "preview/DisplayBody.h"
#include "tests/app/Person.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreBuilder.h"

class QWebEngineView;

namespace pastille::tests {

/// A mail with nothing but its bodies. `html` is UTF-8.
StoreMessage HtmlMail(std::string_view html, std::u16string_view plain = {});

/// A body view of its own window, which looks at the folder "Mails" of a store.
class CBodyPane {
public:
    /// `files` gives the store.
    explicit CBodyPane(std::vector<StoreMessage> mails,
                       platform::IFileSystem& files = platform::HostFileSystem());
    ~CBodyPane();
    CBodyPane(const CBodyPane&) = delete;
    CBodyPane& operator=(const CBodyPane&) = delete;

    /// Asks for the mail of that number (from 1).
    void Asks(std::int32_t number);
    /// Waits until the text shown is this one.
    bool Shows(const QString& text);
    /// What is shown now.
    QString Text();
    /// On the windows' thread only.
    preview::CDisplayBody& View() { return *m_view; }
    /// On the windows' thread only; nullptr without the engine and before the first body.
    QWebEngineView* Web();
    const std::shared_ptr<preview::CPreviewStore>& Store() const { return m_store; }
    /// Takes the view away.
    void Close();
    /// Clicks into the middle of the document.
    void Clicks();
    /// Waits until the middle of the document is of a colour.
    bool IsColoured(const QColor& colour);

private:
    QString m_text;
    CTemporaryFolder m_folder;
    component::CBuiltInComponent m_component;
    std::shared_ptr<preview::CPreviewStore> m_store;
    std::u16string m_key;
    std::unique_ptr<preview::CDisplayBody> m_view;
};

}  // namespace pastille::tests
