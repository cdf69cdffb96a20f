#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "writer/Component.h"

namespace pastille::preview {

/// A store that is looked at: opened for reading through a session of its own, whatever else has it open.
/// The panes and their workers share it; a worker that still reads keeps it (std::shared_ptr) when another
/// one is opened.
///
/// A folder has a key: two backslashes and the store's name, then a backslash and the name for each folder
/// from the top down. Where a damaged store has several folders of one key, all but the first get a key of
/// their own, which nothing shows.
class CPreviewStore {
public:
    /// Raises writer::_com_error. `codePage`: of 8-bit texts where the store does not say, a name that ICU
    /// knows.
    CPreviewStore(writer::IComponentFactory& component, const std::filesystem::path& path,
                  const std::string& codePage);

    /// The name that the store gives itself.
    const std::u16string& Name() const { return m_name; }
    const std::filesystem::path& Path() const { return m_path; }

    /// The component's objects are used on one thread at a time: whoever reads, and whoever lets go of what
    /// was read, holds a CUse meanwhile. To be held for milliseconds: a folder's worth of items is read in
    /// many short uses, and never while something is asked of another thread.
    class CUse {
    public:
        /// The longest that one should last.
        static constexpr auto kTurn = std::chrono::milliseconds(10);

        explicit CUse(CPreviewStore& store) : m_lock(store.m_mutex), m_store(store) {}
        /// The folder whose sub-folders the user sees at the top.
        writer::CRef<writer::IStoreFolder> Root() { return m_store.m_store->GetRootFolder(); }
        /// Makes a folder known under the key of its names; returns its key.
        std::u16string Add(const writer::CRef<writer::IStoreFolder>& folder, std::u16string_view path);
        /// The folder of a key that Add has given. Raises writer::_com_error (E_NOT_FOUND).
        writer::CRef<writer::IStoreFolder> Folder(std::u16string_view key) const;

    private:
        std::scoped_lock<std::mutex> m_lock;
        CPreviewStore& m_store;
    };

private:
    std::mutex m_mutex;
    std::filesystem::path m_path;
    writer::CRef<writer::IStoreSession> m_session;
    writer::CRef<writer::IMessageStore> m_store;
    std::u16string m_name;
    std::unordered_map<std::u16string, writer::CRef<writer::IStoreFolder>> m_folders;  ///< by key
    std::unordered_map<std::u16string, std::uint32_t>
        m_repeats;  ///< of a key that several folders would have
};

}  // namespace pastille::preview
