#include "tests/support/FakeComponent.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <variant>

#include "platform/Text.h"
#include "tests/support/ByteStreams.h"

namespace pastille::tests {
namespace {

using namespace writer;

std::string Narrow(const Variant& value)
{
    if (const auto* text = std::get_if<std::u16string>(&value))
        return platform::ToUtf8(*text);
    if (const auto* number = std::get_if<std::int32_t>(&value))
        return std::to_string(*number);
    return {};
}

/// What every item object is besides its interface.
class IFakeItemObject {
public:
    virtual ~IFakeItemObject() = default;
    virtual const std::shared_ptr<FakeItem>& Shared() const = 0;
};

/// An object of the component: what it stands for, and whom it tells of calls.
template <class Interface, class State = std::monostate>
class CPart : public Interface {
public:
    explicit CPart(CFakeComponent& owner, State state = {}) : m_owner(owner), m_state(std::move(state)) {}

protected:
    CFakeComponent& m_owner;
    State m_state;
};

using SharedItem = std::shared_ptr<FakeItem>;

class CAttachments final : public CPart<IAttachmentList, SharedItem> {
public:
    using CPart::CPart;
    void AddAttachment(platform::IByteStream& content, std::u16string_view fileName,
                       std::u16string_view displayName) override
    {
        m_owner.Enter("AddAttachment:" + platform::ToUtf8(fileName), kInterfaceId);
        m_state->attachments.push_back({.fileName = std::u16string(fileName),
                                        .displayName = std::u16string(displayName),
                                        .bytes = ReadAll(content)});
    }
    void AddAttachment(const CRef<IStoreItem>& item, std::u16string_view displayName) override
    {
        m_owner.Enter("AddAttachment:" + platform::ToUtf8(displayName), kInterfaceId);
        const SharedItem& inner = std::dynamic_pointer_cast<IFakeItemObject>(item.Shared())->Shared();
        inner->isEmbedded = inner->saves == 0;
        m_state->attachments.push_back({.displayName = std::u16string(displayName), .embedded = inner});
    }
    std::int32_t GetCount() override { return static_cast<std::int32_t>(m_state->attachments.size()); }
    CRef<IAttachment> GetAttachment(std::int32_t) override { return {}; }
};

template <class Interface>
class CItem : public CPart<Interface, SharedItem>, public IFakeItemObject {
public:
    using CPart<Interface, SharedItem>::CPart;
    const SharedItem& Shared() const override { return m_state; }

    void Save() override
    {
        m_owner.Enter("Save:" + platform::ToUtf8(m_state->messageClass), IStoreItem::kInterfaceId);
        ++m_state->saves;
        if (m_owner.commitsEverySave)
            m_owner.Commit();
    }
    std::u16string GetMessageClass() override { return m_state->messageClass; }
    std::u16string GetText(const ItemProperty& property) override
    {
        m_owner.Enter("GetText:" + std::string(property.name), Interface::kInterfaceId);
        return m_state->Text(property.name);
    }
    TextStart GetTextStart(const ItemProperty& property, std::uint32_t) override
    {
        return {GetText(property), true};
    }
    void SetText(const ItemProperty& property, std::u16string_view value) override
    {
        Write("SetText:", property, m_state->texts, std::u16string(value));
    }
    double GetDate(const ItemProperty& property) override
    {
        return m_state->dates[std::string(property.name)];
    }
    void SetDate(const ItemProperty& property, double value) override
    {
        Write("SetDate:", property, m_state->dates, value);
    }
    std::int16_t GetFlag(const ItemProperty& property) override
    {
        return static_cast<std::int16_t>(GetNumber(property));
    }
    void SetFlag(const ItemProperty& property, std::int16_t value) override
    {
        Write("SetFlag:", property, m_state->numbers, value);
    }
    std::int32_t GetNumber(const ItemProperty& property) override
    {
        return m_state->numbers[std::string(property.name)];
    }
    void SetNumber(const ItemProperty& property, std::int32_t value) override
    {
        Write("SetNumber:", property, m_state->numbers, value);
    }
    CRef<IAttachmentList> GetAttachments() override
    {
        return CRef<IAttachmentList>(std::make_shared<CAttachments>(m_owner, m_state));
    }
    CRef<IObject> Reply() override
    {
        m_state->written.emplace_back("Reply");
        return {};
    }
    CRef<IObject> Forward() override
    {
        m_state->written.emplace_back("Forward");
        return {};
    }

protected:
    using CPart<Interface, SharedItem>::m_owner;
    using CPart<Interface, SharedItem>::m_state;

private:
    template <class Values, class Value>
    void Write(const char* operation, const ItemProperty& property, Values& values, Value value)
    {
        m_owner.Enter(operation + std::string(property.name), Interface::kInterfaceId);
        m_state->written.emplace_back(property.name);
        values.insert_or_assign(std::string(property.name), std::move(value));
    }
};

class CContact final : public CItem<IContactItem> {
public:
    using CItem::CItem;
    void AddPicture(platform::IByteStream& content, std::u16string_view fileName) override
    {
        m_owner.Enter("AddPicture:" + platform::ToUtf8(fileName), kInterfaceId);
        m_state->attachments.push_back(
            {.fileName = std::u16string(fileName), .bytes = ReadAll(content), .isPicture = true});
    }
};

CRef<IObject> MakeItem(CFakeComponent& owner, const SharedItem& item)
{
    const std::u16string& name = item->messageClass;
    const auto names = [&](std::u16string_view part) { return name.find(part) != std::u16string::npos; };
    if (names(u".Contact") || names(u".DistList"))
        return CRef<IObject>(std::make_shared<CContact>(owner, item));
    if (names(u".Task"))
        return CRef<IObject>(std::make_shared<CItem<ITaskItem>>(owner, item));
    if (names(u".Appointment"))
        return CRef<IObject>(std::make_shared<CItem<IAppointmentItem>>(owner, item));
    if (names(u".Schedule.Meeting."))
        return CRef<IObject>(std::make_shared<CItem<IMeetingItem>>(owner, item));
    if (names(u".Activity") || names(u".Journal"))
        return CRef<IObject>(std::make_shared<CItem<IJournalItem>>(owner, item));
    if (names(u".StickyNote"))
        return CRef<IObject>(std::make_shared<CItem<INoteItem>>(owner, item));
    return CRef<IObject>(std::make_shared<CItem<IMessageItem>>(owner, item));
}

class CItems final : public CPart<IItemList, FakeFolder*> {
public:
    using CPart::CPart;
    CRef<IObject> AddItem(const Variant& messageClass) override
    {
        m_owner.Enter("AddItem:" + Narrow(messageClass), kInterfaceId);
        const auto& name = std::get<std::u16string>(messageClass);
        if (m_owner.classesWithoutItem.contains(name))
            return {};
        m_state->items.push_back(std::make_shared<FakeItem>());
        m_state->items.back()->messageClass = name;
        return MakeItem(m_owner, m_state->items.back());
    }
    CRef<IMessageItem> GetFirst() override { return {}; }
    CRef<IMessageItem> GetNext() override { return {}; }
    CRef<IMessageItem> GetItem(std::int32_t) override { return {}; }
    std::int32_t GetCount() override { return static_cast<std::int32_t>(m_state->Saved().size()); }
};

/// A folder and, since AddFolder's result has it, its settings.
class CFolder final : public CPart<IStoreFolder, FakeFolder*>, public IFolderSettings {
public:
    [[maybe_unused]] static constexpr format::Guid kInterfaceId = IStoreFolder::kInterfaceId;
    using CPart::CPart;
    CRef<IItemList> GetItems() override
    {
        return CRef<IItemList>(std::make_shared<CItems>(m_owner, m_state));
    }
    CRef<IFolderList> GetFolders() override;
    std::u16string GetName() override { return m_state->name; }
    std::u16string GetContainerClass() override { return m_state->containerClass; }
    std::int32_t GetUnreadCount() override { return 0; }
    void SetDefaultFolderKind(std::int32_t kind) override
    {
        m_owner.Enter("SetDefaultFolderKind:" + std::to_string(kind), IFolderSettings::kInterfaceId);
        m_state->kind = kind;
    }
    void SetFolderFlag(std::int32_t value) override
    {
        m_owner.Enter("SetFolderFlag:" + std::to_string(value), IFolderSettings::kInterfaceId);
    }
};

/// An empty reference for no folder.
CRef<IStoreFolder> RefTo(CFakeComponent& owner, FakeFolder* folder)
{
    return folder == nullptr ? CRef<IStoreFolder>()
                             : CRef<IStoreFolder>(std::make_shared<CFolder>(owner, folder));
}

class CFolders final : public CPart<IFolderList, FakeFolder*> {
public:
    using CPart::CPart;
    CRef<IObject> AddFolder(std::u16string_view name, const Variant& type) override
    {
        m_owner.Enter("AddFolder:" + platform::ToUtf8(name), kInterfaceId);
        if (name.empty() || m_state->Find(name) != nullptr)
            throw _com_error(E_INVALIDARG, kInterfaceId);
        auto folder = std::make_shared<FakeFolder>();
        folder->name = name;
        if (const auto* containerClass = std::get_if<std::u16string>(&type))
            folder->containerClass = *containerClass;
        if (const auto* number = std::get_if<std::int32_t>(&type))
            folder->type = *number;
        m_state->folders.push_back(folder);
        return RefTo(m_owner, folder.get());
    }
    CRef<IStoreFolder> GetFolder(const Variant& index) override
    {
        m_owner.Enter("GetFolder:" + Narrow(index), kInterfaceId);
        const auto* number = std::get_if<std::int32_t>(&index);
        return RefTo(m_owner, number == nullptr
                                  ? m_state->Find(std::get<std::u16string>(index))
                                  : m_state->folders[static_cast<std::size_t>(*number - 1)].get());
    }
    std::int32_t GetCount() override { return static_cast<std::int32_t>(m_state->folders.size()); }
    std::int32_t GetUnreadableCount() override { return 0; }
};

CRef<IFolderList> CFolder::GetFolders()
{
    return CRef<IFolderList>(std::make_shared<CFolders>(m_owner, m_state));
}

class CStore final : public CPart<IMessageStore> {
public:
    explicit CStore(CFakeComponent& owner) : CPart(owner) { ++m_owner.liveStores; }
    ~CStore() override
    {
        --m_owner.liveStores;
        m_owner.calls.emplace_back("ReleaseStore");
    }
    CRef<IStoreFolder> GetRootFolder() override { return RefTo(m_owner, &m_owner.root); }
    std::u16string GetDisplayName() override { return m_owner.storeName; }
    std::vector<std::string> GetOpeningFaults() override { return {}; }
    void Commit() override
    {
        m_owner.Enter("Commit", kInterfaceId);
        m_owner.Commit();
    }
};

class CStores final : public CPart<IStoreList> {
public:
    using CPart::CPart;
    CRef<IMessageStore> GetDefaultStore() override
    {
        return CRef<IMessageStore>(std::make_shared<CStore>(m_owner));
    }
    CRef<IMessageStore> AddPstStore(const std::filesystem::path& path, const Variant& format,
                                    const Variant& displayName) override
    {
        // The file is there before a failure, as it is when the disk fills up.
        std::ofstream(path) << "half-made";
        m_owner.Enter("AddPstStore", kInterfaceId);
        if (!std::holds_alternative<Missing>(format))
            throw _com_error(E_INVALIDARG, kInterfaceId);
        m_owner.storePath = path;
        m_owner.storeName = std::get<std::u16string>(displayName);
        return GetDefaultStore();
    }
    CRef<IMessageStore> OpenPstStore(const std::filesystem::path&, const Variant&) override
    {
        m_owner.Enter("OpenPstStore", kInterfaceId);
        if (!m_owner.committed)
            throw _com_error(E_FAIL, kInterfaceId);
        return GetDefaultStore();
    }
};

class CSession final : public CPart<IStoreSession> {
public:
    using CPart::CPart;
    ~CSession() override { m_owner.calls.emplace_back("ReleaseSession"); }
    void Logon(const Variant& profile) override
    {
        m_owner.Enter("Logon:" + Narrow(profile), kInterfaceId);
        m_owner.loggedOnTo = std::get<std::u16string>(profile);
    }
    CRef<IStoreList> GetStores() override { return CRef<IStoreList>(std::make_shared<CStores>(m_owner)); }
    CRef<IStoreFolder> GetDefaultFolder(std::int32_t kind) override
    {
        m_owner.Enter("GetDefaultFolder:" + std::to_string(kind), kInterfaceId);
        for (const auto& folder : m_owner.root.folders) {
            if (folder->kind == kind)
                return RefTo(m_owner, folder.get());
        }
        throw _com_error(E_NOT_FOUND, kInterfaceId);
    }
    CRef<IStoreFolder> GetFolderFromPath(std::u16string_view path) override
    {
        m_owner.Enter("GetFolderFromPath:" + platform::ToUtf8(path), kInterfaceId);
        const std::u16string beginning = u"\\\\" + m_owner.storeName;
        FakeFolder* folder =
            path.starts_with(beginning) ? m_owner.Folder(path.substr(beginning.size())) : nullptr;
        if (folder == nullptr)
            throw _com_error(E_NOT_FOUND, kInterfaceId);
        return RefTo(m_owner, folder);
    }
};

class CProfiles final : public CPart<IStoreProfiles> {
public:
    using CPart::CPart;
    CRef<IObject> FindProfile(const Variant& name) override
    {
        m_owner.Enter("FindProfile:" + Narrow(name), kInterfaceId);
        return m_owner.profiles.contains(std::get<std::u16string>(name))
                   ? CRef<IObject>(std::make_shared<IObject>())
                   : CRef<IObject>();
    }
    CRef<IObject> AddProfile(std::u16string_view name, std::int16_t option, const Variant& extra) override
    {
        m_owner.Enter("AddProfile:" + platform::ToUtf8(name), kInterfaceId);
        if (option != 0 || !std::holds_alternative<Empty>(extra))
            throw _com_error(E_INVALIDARG, kInterfaceId);
        m_owner.profiles.emplace(name);
        return CRef<IObject>(std::make_shared<IObject>());
    }
};

}  // namespace

std::u16string FakeItem::Text(std::string_view name) const
{
    const auto found = texts.find(name);
    return found == texts.end() ? std::u16string() : found->second;
}

bool FakeItem::Wrote(std::string_view name) const
{
    return std::ranges::find(written, name) != written.end();
}

FakeFolder* FakeFolder::Find(std::u16string_view subfolder) const
{
    const auto found = std::ranges::find(folders, subfolder, &FakeFolder::name);
    return found == folders.end() ? nullptr : found->get();
}

std::vector<const FakeItem*> FakeFolder::Saved() const
{
    std::vector<const FakeItem*> saved;
    for (const auto& item : items) {
        if (item->saves > 0 && !item->isEmbedded)
            saved.push_back(item.get());
    }
    return saved;
}

CRef<IStoreProfiles> CFakeComponent::CreateProfiles()
{
    return isRegistered ? CRef<IStoreProfiles>(std::make_shared<CProfiles>(*this)) : nullptr;
}

CRef<IStoreSession> CFakeComponent::CreateSession()
{
    return isRegistered ? CRef<IStoreSession>(std::make_shared<CSession>(*this)) : nullptr;
}

CRef<IStoreAuxiliary> CFakeComponent::CreateAuxiliary()
{
    return CRef<IStoreAuxiliary>(std::make_shared<IStoreAuxiliary>());
}

void CFakeComponent::Commit()
{
    committed = true;
    std::ofstream(storePath) << "!BDN, and more";
}

void CFakeComponent::FailCalls(std::string call, HRESULT error, int skip, int times)
{
    m_failures.push_back({std::move(call), error, skip, times});
}

void CFakeComponent::Enter(const std::string& call, const format::Guid& interfaceId)
{
    calls.push_back(call);
    for (Failure& failure : m_failures) {
        if (!call.starts_with(failure.call) || failure.skip-- > 0)
            continue;
        if (failure.times-- <= 0)
            continue;
        if (onFailure)
            onFailure();
        throw _com_error(failure.error, interfaceId);
    }
}

std::size_t CFakeComponent::CountCalls(std::string_view beginning) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(calls, [&](const std::string& call) { return call.starts_with(beginning); }));
}

FakeFolder* CFakeComponent::Folder(std::u16string_view path)
{
    FakeFolder* folder = &root;
    while (folder != nullptr && !path.empty()) {
        if (path.front() != u'\\')
            return nullptr;
        path.remove_prefix(1);
        const auto end = std::min(path.find(u'\\'), path.size());
        folder = folder->Find(path.substr(0, end));
        path.remove_prefix(end);
    }
    return folder;
}

std::vector<std::string> CFakeComponent::SavedItems() const
{
    std::vector<std::string> lines;
    const std::function<void(const FakeFolder&, const std::string&)> visit = [&](const FakeFolder& folder,
                                                                                 const std::string& path) {
        for (const FakeItem* item : folder.Saved())
            lines.push_back(path + ": " + platform::ToUtf8(item->messageClass));
        for (const auto& below : folder.folders)
            visit(*below, path + "\\" + platform::ToUtf8(below->name));
    };
    visit(root, "");
    return lines;
}

}  // namespace pastille::tests
