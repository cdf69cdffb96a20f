#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "component/BuiltInComponent.h"
#include "preview/PreviewStore.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {

/// A store that a test fills through the component and then opens for looking at.
class CPreviewedStore {
public:
    /// `fill` gets the folder whose sub-folders the user sees.
    explicit CPreviewedStore(const std::function<void(writer::IStoreFolder& root)>& fill);

    const std::filesystem::path& Path() const { return m_path; }
    /// Opened anew.
    std::shared_ptr<preview::CPreviewStore> OpenUnread();
    /// The same, with every folder known.
    std::shared_ptr<preview::CPreviewStore> Open();
    /// Key of the folder at a path, as "\Inbox".
    static std::u16string Key(std::u16string_view path);

private:
    CTemporaryFolder m_folder;
    std::filesystem::path m_path;
    component::CBuiltInComponent m_component;
};

/// Adds a folder; returns it. `containerClass`: "" for none of its own.
writer::CRef<writer::IStoreFolder> AddFolder(writer::IStoreFolder& parent, std::u16string_view name,
                                             std::u16string_view containerClass);
/// Adds an item of a class, filled and saved.
void AddItem(writer::IStoreFolder& folder, std::u16string_view messageClass,
             const std::function<void(writer::IMessageItem& item)>& fill);

}  // namespace pastille::tests
