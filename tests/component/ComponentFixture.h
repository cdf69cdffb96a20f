#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "component/BuiltInComponent.h"
#include "tests/support/ByteStreams.h"
#include "tests/support/FaultyFileSystem.h"
#include "writer/Component.h"

namespace pastille::tests {

/// A component with one profile, in a folder of its own.
class CComponentFixture : public testing::Test {
protected:
    static constexpr std::u16string_view kProfile = u"Pastille";
    static constexpr std::u16string_view kStoreName = u"old Recovered";

    static writer::Variant TextArgument(std::u16string_view text) { return std::u16string(text); }

    writer::CRef<writer::IStoreSession> NewSession()
    {
        auto fresh = factory.CreateSession();
        fresh->Logon(TextArgument(kProfile));
        return fresh;
    }
    /// Makes the profile, logs on and creates the store.
    void CreateStore()
    {
        factory.CreateProfiles()->AddProfile(kProfile, 0, writer::Empty{});
        session = NewSession();
        store = session->GetStores()->AddPstStore(StorePath(), writer::Missing{}, TextArgument(kStoreName));
        root = store->GetRootFolder();
    }
    /// Completes the store and looks at the file through a session of its own.
    void Reopen()
    {
        store->Commit();
        root.Release();
        session.Release();
        store.Release();
        session = NewSession();
        store = session->GetStores()->GetDefaultStore();
        root = store->GetRootFolder();
    }
    std::filesystem::path StorePath() const { return folder / "old Recovered.pst"; }

    static writer::CRef<writer::IStoreFolder> AddFolder(const writer::CRef<writer::IStoreFolder>& parent,
                                                        std::u16string_view name,
                                                        const writer::Variant& type = writer::Missing{})
    {
        return writer::QueryInterface<writer::IStoreFolder>(parent->GetFolders()->AddFolder(name, type));
    }
    static writer::CRef<writer::IStoreFolder> FindFolder(const writer::CRef<writer::IStoreFolder>& parent,
                                                         std::u16string_view name)
    {
        return parent->GetFolders()->GetFolder(TextArgument(name));
    }
    static writer::CRef<writer::IMessageItem> AddItem(const writer::CRef<writer::IStoreFolder>& parent,
                                                      std::u16string_view messageClass,
                                                      std::u16string_view subject = {})
    {
        auto item = writer::QueryInterface<writer::IMessageItem>(
            parent->GetItems()->AddItem(TextArgument(messageClass)));
        if (!subject.empty())
            item->SetText(writer::property::Subject, subject);
        return item;
    }
    template <class Item>
    static void Attach(const writer::CRef<Item>& item, const std::string& bytes, std::u16string_view fileName,
                       std::u16string_view displayName = {})
    {
        CMemoryStream stream(bytes);
        item->GetAttachments()->AddAttachment(stream, fileName, displayName);
    }

    CTemporaryFolder folder;
    CFaultyFileSystem files;
    component::CBuiltInComponent factory{files, folder / "data" / "profiles"};
    writer::CRef<writer::IStoreSession> session;
    writer::CRef<writer::IMessageStore> store;
    writer::CRef<writer::IStoreFolder> root;
};

/// The same with the store made.
class CComponentStoreFixture : public CComponentFixture {
protected:
    CComponentStoreFixture() { CreateStore(); }
};

/// The error that a call raises: its code and interface. Code 0 when it raises none.
template <class Call>
std::pair<writer::HRESULT, format::Guid> ErrorOf(Call&& call)
{
    try {
        call();
    } catch (const writer::_com_error& error) {
        return {error.Error(), error.InterfaceId()};
    }
    return {0, {}};
}

}  // namespace pastille::tests
