#include "component/BuiltInComponent.h"

#include <utility>
#include <variant>

#include "component/Folder.h"
#include "component/Guard.h"
#include "component/SessionState.h"
#include "platform/Text.h"

namespace pastille::component {
namespace {

using pst::CStoreError;
using pst::Refusal;
using writer::CRef;
using writer::IMessageStore;
using writer::IObject;
using writer::IStoreFolder;
using writer::IStoreList;
using writer::IStoreProfiles;
using writer::IStoreSession;

const std::u16string& TextOf(const writer::Variant& variant)
{
    const auto* text = std::get_if<std::u16string>(&variant);
    if (text == nullptr)
        throw CStoreError(Refusal::BadArgument);
    return *text;
}

/// Stands for a profile: that it is there is all that it says.
class CProfile final : public IObject {};

class CProfiles final : public IStoreProfiles {
public:
    CProfiles(platform::IFileSystem& files, const std::filesystem::path& folder) : m_profiles(files, folder)
    {
    }

    CRef<IObject> FindProfile(const writer::Variant& name) override
    {
        return Guarded<IStoreProfiles>([&] {
            return m_profiles.Read(TextOf(name)) ? CRef<IObject>(std::make_shared<CProfile>())
                                                 : CRef<IObject>();
        });
    }
    CRef<IObject> AddProfile(std::u16string_view name, std::int16_t, const writer::Variant&) override
    {
        return Guarded<IStoreProfiles>([&] {
            if (m_profiles.Read(name))
                throw CStoreError(Refusal::Exists);
            m_profiles.Write({std::u16string(name), {}});
            return CRef<IObject>(std::make_shared<CProfile>());
        });
    }

private:
    CProfileFiles m_profiles;
};

class CStoreList final : public IStoreList {
public:
    explicit CStoreList(std::shared_ptr<CSessionState> state) : m_state(std::move(state)) {}

    CRef<IMessageStore> GetDefaultStore() override
    {
        return Guarded<IStoreList>([&] { return MakeStore(m_state->DefaultStore()); });
    }
    CRef<IMessageStore> AddPstStore(const std::filesystem::path& path, const writer::Variant& format,
                                    const writer::Variant& displayName) override
    {
        return Guarded<IStoreList>([&] {
            if (!std::holds_alternative<writer::Missing>(format))
                throw CStoreError(Refusal::BadArgument);
            return MakeStore(m_state->AddStore(path, TextOf(displayName)));
        });
    }
    CRef<IMessageStore> OpenPstStore(const std::filesystem::path& path,
                                     const writer::Variant& codePage) override
    {
        return Guarded<IStoreList>([&] {
            const bool isUsual = std::holds_alternative<writer::Missing>(codePage);
            const std::string name =
                isUsual ? pst::CPstStore::kUsualCodePage : platform::ToUtf8(TextOf(codePage));
            if (!platform::CCodePage::IsKnown(name))
                throw CStoreError(Refusal::BadArgument);
            return MakeStore(m_state->OpenStore(path, name));
        });
    }

private:
    std::shared_ptr<CSessionState> m_state;
};

class CSession final : public IStoreSession {
public:
    explicit CSession(std::shared_ptr<CSessionState> state) : m_state(std::move(state)) {}

    void Logon(const writer::Variant& profile) override
    {
        Guarded<IStoreSession>([&] { m_state->Logon(TextOf(profile)); });
    }
    CRef<IStoreList> GetStores() override { return CRef<IStoreList>(std::make_shared<CStoreList>(m_state)); }
    CRef<IStoreFolder> GetDefaultFolder(std::int32_t kind) override
    {
        return Guarded<IStoreSession>([&] {
            const auto place = m_state->DefaultFolder(kind);
            return MakeFolder(place.store, *place.folder);
        });
    }
    CRef<IStoreFolder> GetFolderFromPath(std::u16string_view path) override
    {
        return Guarded<IStoreSession>([&] {
            const auto place = m_state->FolderAt(path);
            return MakeFolder(place.store, *place.folder);
        });
    }

private:
    std::shared_ptr<CSessionState> m_state;
};

class CAuxiliary final : public writer::IStoreAuxiliary {};

}  // namespace

CBuiltInComponent::CBuiltInComponent(platform::IFileSystem& files, std::filesystem::path profileFolder,
                                     pst::CheckpointPolicy checkpoints)
    : m_files(files), m_profileFolder(std::move(profileFolder)), m_checkpoints(checkpoints)
{
}

CRef<IStoreProfiles> CBuiltInComponent::CreateProfiles()
{
    return CRef<IStoreProfiles>(std::make_shared<CProfiles>(m_files, m_profileFolder));
}

CRef<IStoreSession> CBuiltInComponent::CreateSession()
{
    return CRef<IStoreSession>(
        std::make_shared<CSession>(std::make_shared<CSessionState>(m_files, m_profileFolder, m_checkpoints)));
}

CRef<writer::IStoreAuxiliary> CBuiltInComponent::CreateAuxiliary()
{
    return CRef<writer::IStoreAuxiliary>(std::make_shared<CAuxiliary>());
}

}  // namespace pastille::component
