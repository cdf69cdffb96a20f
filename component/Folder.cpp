#include "component/Folder.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "component/Guard.h"
#include "component/Item.h"
#include "component/WholeMessage.h"
#include "writer/WholeItems.h"

namespace pastille::component {
namespace {

using pst::CPstStore;
using pst::CStoreError;
using pst::Refusal;
using writer::CRef;
using writer::IFolderList;
using writer::IFolderSettings;
using writer::IItemList;
using writer::IMessageItem;
using writer::IMessageStore;
using writer::IObject;
using writer::IPropertyNames;
using writer::IStoreFolder;
using writer::IWholeFolder;
namespace folderkind = writer::folderkind;

constexpr std::u16string_view kMailFolderClass = u"IPF.Note";

struct KindClass {
    std::int32_t kind;
    std::u16string_view containerClass;
};
constexpr std::array kKindClasses{
    KindClass{folderkind::kCalendar, u"IPF.Appointment"}, KindClass{folderkind::kContacts, u"IPF.Contact"},
    KindClass{folderkind::kJournal, u"IPF.Journal"},      KindClass{folderkind::kNotes, u"IPF.StickyNote"},
    KindClass{folderkind::kTasks, u"IPF.Task"},
};

/// The container class that goes with a kind; empty when it has none of its own.
std::u16string_view ClassOfKind(std::int32_t kind)
{
    for (const KindClass& entry : kKindClasses)
        if (entry.kind == kind)
            return entry.containerClass;
    return {};
}

/// What all objects of one folder share.
struct FolderHandle {
    std::shared_ptr<CPstStore> store;
    pst::Folder* folder;
};

/// Number of an entry of a list that counts from 1; nothing when it is none of them.
std::optional<std::size_t> PlaceOf(std::int32_t number, std::size_t count)
{
    if (number < 1 || static_cast<std::size_t>(number) > count)
        return std::nullopt;
    return static_cast<std::size_t>(number) - 1;
}

class CItemList final : public IItemList {
public:
    explicit CItemList(FolderHandle handle) : m_handle(std::move(handle)) {}

    CRef<IObject> AddItem(const writer::Variant& messageClass) override
    {
        return Guarded<IItemList>([&] {
            const auto* text = std::get_if<std::u16string>(&messageClass);
            if (text == nullptr)
                throw CStoreError(Refusal::BadArgument);
            if (!m_handle.store->IsWritable())
                throw CStoreError(Refusal::ReadOnly);
            m_handle.store->CheckpointIfDue();
            auto core = std::make_shared<CItemCore>(m_handle.store, *m_handle.folder, *text);
            return CRef<IObject>(MakeItem(std::move(core)));
        });
    }
    CRef<IMessageItem> GetFirst() override
    {
        m_next = 0;
        return GetNext();
    }
    CRef<IMessageItem> GetNext() override
    {
        return Guarded<IItemList>([&] {
            if (m_next >= Count())
                return CRef<IMessageItem>();
            // Moved on first: after an item that cannot be read the next one can.
            return Open(m_next++);
        });
    }
    CRef<IMessageItem> GetItem(std::int32_t number) override
    {
        return Guarded<IItemList>([&] {
            const auto place = PlaceOf(number, Count());
            return place ? Open(*place) : CRef<IMessageItem>();
        });
    }
    std::int32_t GetCount() override
    {
        return Guarded<IItemList>([&] { return static_cast<std::int32_t>(Count()); });
    }

private:
    std::size_t Count()
    {
        if (m_handle.store->IsWritable())
            return m_handle.folder->items.size();
        if (!m_contents)
            m_contents = m_handle.store->OpenContents(*m_handle.folder);
        return m_contents->RowCount();
    }
    /// REQUIRES: place < Count(), which has opened the table.
    CRef<IMessageItem> Open(std::size_t place)
    {
        const format::Nid message{m_contents ? m_contents->RowIdAt(place) : m_handle.folder->items[place]};
        return CRef<IMessageItem>(
            MakeItem(std::make_shared<CItemCore>(m_handle.store, *m_handle.folder, message)));
    }

    FolderHandle m_handle;
    std::unique_ptr<pst::CTableReader> m_contents;  ///< of a store opened for reading, once asked
    std::size_t m_next = 0;
};

class CFolderList final : public IFolderList {
public:
    explicit CFolderList(FolderHandle handle) : m_handle(std::move(handle)) {}

    CRef<IObject> AddFolder(std::u16string_view name, const writer::Variant& type) override;
    CRef<IStoreFolder> GetFolder(const writer::Variant& index) override
    {
        return Guarded<IFolderList>([&] {
            pst::Folder* const found = Find(index);
            return found == nullptr ? CRef<IStoreFolder>() : MakeFolder(m_handle.store, *found);
        });
    }
    std::int32_t GetCount() override
    {
        return Guarded<IFolderList>(
            [&] { return static_cast<std::int32_t>(m_handle.store->SubfoldersOf(*m_handle.folder).size()); });
    }
    std::int32_t GetUnreadableCount() override
    {
        return Guarded<IFolderList>([&] {
            m_handle.store->SubfoldersOf(*m_handle.folder);
            return static_cast<std::int32_t>(m_handle.folder->unreadableChildren);
        });
    }

private:
    pst::Folder* Find(const writer::Variant& index)
    {
        if (const auto* name = std::get_if<std::u16string>(&index))
            return m_handle.store->FindSubfolder(*m_handle.folder, *name);
        const auto* number = std::get_if<std::int32_t>(&index);
        if (number == nullptr)
            throw CStoreError(Refusal::BadArgument);
        const auto& children = m_handle.store->SubfoldersOf(*m_handle.folder);
        const auto place = PlaceOf(*number, children.size());
        return place ? children[*place] : nullptr;
    }
    std::u16string_view InheritedClass() const
    {
        const auto& own = m_handle.folder->containerClass;
        return own.empty() ? kMailFolderClass : std::u16string_view(own);
    }
    std::u16string_view ClassFor(const writer::Variant& type) const
    {
        if (const auto* text = std::get_if<std::u16string>(&type))
            return *text;
        const auto* kind = std::get_if<std::int32_t>(&type);
        const auto ofKind = kind ? ClassOfKind(*kind) : std::u16string_view();
        return ofKind.empty() ? InheritedClass() : ofKind;
    }

    FolderHandle m_handle;
};

class CFolder final : public IStoreFolder, public IFolderSettings, public IWholeFolder {
public:
    explicit CFolder(FolderHandle handle) : m_handle(std::move(handle)) {}

    CRef<IItemList> GetItems() override { return CRef<IItemList>(std::make_shared<CItemList>(m_handle)); }
    CRef<IFolderList> GetFolders() override
    {
        return CRef<IFolderList>(std::make_shared<CFolderList>(m_handle));
    }
    std::u16string GetName() override { return m_handle.folder->name; }
    std::u16string GetContainerClass() override { return m_handle.folder->containerClass; }
    std::int32_t GetUnreadCount() override
    {
        return Guarded<IStoreFolder>(
            [&] { return static_cast<std::int32_t>(m_handle.store->UnreadCount(*m_handle.folder)); });
    }

    void SetDefaultFolderKind(std::int32_t kind) override
    {
        Guarded<IFolderSettings>([&] {
            m_handle.store->SetDefaultFolder(kind, *m_handle.folder);
            if (const auto containerClass = ClassOfKind(kind); !containerClass.empty())
                m_handle.store->SetContainerClass(*m_handle.folder, containerClass);
        });
    }
    /// Nothing in the file stands for the flag; it is taken and has no effect.
    void SetFolderFlag(std::int32_t) override
    {
        Guarded<IFolderSettings>([&] {
            if (!m_handle.store->IsWritable())
                throw CStoreError(Refusal::ReadOnly);
        });
    }

    bool SetProperty(format::PropertyTag tag, std::span<const std::byte> value) override
    {
        return Put(tag, value);
    }
    bool SetProperty(format::PropertyTag tag, platform::IByteStream& value) override
    {
        return Put(tag, value);
    }
    CRef<writer::IWholeMessage> AddMessage(bool isAssociated) override
    {
        return Guarded<IWholeFolder>(
            [&] { return MakeWholeMessage(m_handle.store, *m_handle.folder, isAssociated); });
    }

private:
    template <class Content>
    bool Put(format::PropertyTag tag, Content&& content)
    {
        auto& store = *m_handle.store;
        return SetWholeProperty(store, pst::ObjectKind::Folder, tag, std::forward<Content>(content),
                                [&](pst::PropertyValue value) {
                                    return store.SetFolderProperty(*m_handle.folder, std::move(value));
                                });
    }

    FolderHandle m_handle;
};

CRef<IObject> CFolderList::AddFolder(std::u16string_view name, const writer::Variant& type)
{
    return Guarded<IFolderList>([&] {
        auto& store = *m_handle.store;
        const std::u16string containerClass(ClassFor(type));
        pst::Folder& folder = store.AddFolder(*m_handle.folder, name, containerClass);
        // A folder deep in the tree does not take the place of one that is the default folder already.
        if (const auto* kind = std::get_if<std::int32_t>(&type);
            kind && store.DefaultFolder(*kind) == nullptr)
            store.SetDefaultFolder(*kind, folder);
        return CRef<IObject>(MakeFolder(m_handle.store, folder));
    });
}

class CStore final : public IMessageStore, public IPropertyNames {
public:
    explicit CStore(std::shared_ptr<CPstStore> store) : m_store(std::move(store)) {}

    CRef<IStoreFolder> GetRootFolder() override
    {
        return Guarded<IMessageStore>([&] { return MakeFolder(m_store, m_store->RootFolder()); });
    }
    std::u16string GetDisplayName() override { return m_store->DisplayName(); }
    std::vector<std::string> GetOpeningFaults() override { return m_store->OpeningFaults(); }
    void Commit() override
    {
        Guarded<IMessageStore>([&] { m_store->Commit(); });
    }
    std::uint16_t GetPropertyId(const format::PropertyName& name) override
    {
        return Guarded<IPropertyNames>([&] { return m_store->IdOfName(name); });
    }

private:
    std::shared_ptr<CPstStore> m_store;
};

}  // namespace

CRef<IStoreFolder> MakeFolder(std::shared_ptr<CPstStore> store, pst::Folder& folder)
{
    return CRef<IStoreFolder>(std::make_shared<CFolder>(FolderHandle{std::move(store), &folder}));
}

CRef<IMessageStore> MakeStore(std::shared_ptr<CPstStore> store)
{
    return CRef<IMessageStore>(std::make_shared<CStore>(std::move(store)));
}

}  // namespace pastille::component
