#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "writer/Component.h"

namespace pastille::tests {

struct FakeItem;

struct FakeAttachment {
    std::u16string fileName{};  ///< none of an embedded message
    std::u16string displayName{};
    std::string bytes{};
    std::shared_ptr<FakeItem> embedded{};  ///< set for an embedded message
    bool isPicture = false;                ///< added with AddPicture
};

/// An item as the fake component was told to make it. Properties are kept by their names.
struct FakeItem {
    std::u16string messageClass;
    std::map<std::string, std::u16string, std::less<>> texts;
    std::map<std::string, double, std::less<>> dates;
    std::map<std::string, std::int32_t, std::less<>> numbers;  ///< flags too
    std::vector<std::string> written;                          ///< names in the order of writing
    std::vector<FakeAttachment> attachments;
    bool isEmbedded = false;  ///< lives in another item; saving puts it into no folder
    int saves = 0;

    std::u16string Text(std::string_view name) const;
    bool Wrote(std::string_view name) const;
};

struct FakeFolder {
    std::u16string name;
    std::u16string containerClass;
    std::optional<std::int32_t> type;  ///< given as a number when the folder was added
    std::int32_t kind = 0;             ///< as set afterwards
    std::vector<std::shared_ptr<FakeFolder>> folders;
    std::vector<std::shared_ptr<FakeItem>> items;  ///< all that were made, saved or not

    FakeFolder* Find(std::u16string_view subfolder) const;
    /// Only the saved ones are in the store.
    std::vector<const FakeItem*> Saved() const;
};

/// A component in memory that remembers what was asked of it and fails where a test wants it to.
class CFakeComponent final : public writer::IComponentFactory {
public:
    writer::CRef<writer::IStoreProfiles> CreateProfiles() override;
    writer::CRef<writer::IStoreSession> CreateSession() override;
    writer::CRef<writer::IStoreAuxiliary> CreateAuxiliary() override;

    /// Calls whose text begins with `call` fail, but for the first `skip` of them; `times` of them. The text
    /// is the operation's name, ":" and its text argument, as "AddFolder:Inbox" or "SetText:Subject".
    void FailCalls(std::string call, writer::HRESULT error, int skip = 0, int times = 1'000'000);
    /// Notes a call; raises when it is to fail.
    void Enter(const std::string& call, const format::Guid& interfaceId);
    std::function<void()> onFailure;  ///< called when a call fails
    std::size_t CountCalls(std::string_view beginning) const;

    bool isRegistered = true;
    std::set<std::u16string> profiles;
    std::set<std::u16string> classesWithoutItem;  ///< AddItem returns nothing for these
    std::vector<std::string> calls;

    std::u16string loggedOnTo;
    std::filesystem::path storePath;
    std::u16string storeName;
    FakeFolder root;
    bool committed = false;
    bool commitsEverySave = false;  ///< as a component does that completes its file now and then
    int liveStores = 0;             ///< store objects that are held

    /// What is saved by now is on the disk.
    void Commit();

    /// The folder at a path below the root; nullptr when there is none.
    FakeFolder* Folder(std::u16string_view path);
    /// Every item saved, as "path: class", in the order of the tree.
    std::vector<std::string> SavedItems() const;

private:
    struct Failure {
        std::string call;
        writer::HRESULT error;
        int skip;
        int times;
    };
    std::vector<Failure> m_failures;
};

}  // namespace pastille::tests
