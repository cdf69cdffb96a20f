#include "tests/scenario/Repair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <set>

#include "format/Bytes.h"
#include "writer/OleDate.h"

namespace pastille::tests {
namespace {

using writer::CRef;

std::u16string TextOf(const StoreMessage& message, std::uint16_t id)
{
    std::u16string text;
    for (const StoreProperty& property : message.properties) {
        if (property.id != id || property.type != format::PropertyType::String)
            continue;
        for (std::size_t i = 0; i + 1 < property.value.size(); i += 2)
            text.push_back(static_cast<char16_t>(format::LoadLE<std::uint16_t>(property.value, i)));
    }
    return text;
}

double DateOf(const StoreMessage& message, std::uint16_t id)
{
    for (const StoreProperty& property : message.properties) {
        if (property.id == id)
            return writer::OleDateFromFileTime(format::LoadLE<std::uint64_t>(property.value, 0));
    }
    return 0;
}

void AddExpected(const StoreFolder& folder, const std::u16string& parent, SeenStore& into)
{
    const std::u16string path = parent + u"\\" + folder.name;
    std::vector<SeenItem>& items = into[path];
    for (const StoreMessage& message : folder.messages) {
        namespace pid = format::pid;
        items.push_back({message.messageClass, TextOf(message, pid::kSubject),
                         TextOf(message, pid::kSentRepresentingName), TextOf(message, pid::kDisplayTo),
                         TextOf(message, pid::kBody), DateOf(message, pid::kClientSubmitTime),
                         DateOf(message, pid::kMessageDeliveryTime),
                         static_cast<int>(message.attachments.size())});
    }
    std::sort(items.begin(), items.end());
    for (const StoreFolder& child : folder.folders)
        AddExpected(child, path, into);
}

SeenItem Look(writer::IMessageItem& item)
{
    namespace property = writer::property;
    SeenItem seen;
    seen.messageClass = item.GetMessageClass();
    seen.subject = item.GetText(property::Subject);
    seen.sender = item.GetText(property::SenderName);
    seen.to = item.GetText(property::DisplayTo);
    seen.body = item.GetText(property::Body);
    const auto date = [&](const writer::ItemProperty& which) {
        const double value = item.GetDate(which);
        return value == writer::kNoDate ? 0 : value;
    };
    seen.sent = date(property::SubmitTime);
    seen.delivered = date(property::DeliveryTime);
    if (const auto attachments = item.GetAttachments())
        seen.attachments = attachments->GetCount();
    return seen;
}

void AddFolder(const CRef<writer::IStoreFolder>& folder, const std::u16string& path, SeenStore& into)
{
    std::vector<SeenItem>& items = into[path];
    const auto list = folder->GetItems();
    for (auto item = list->GetFirst(); item; item = list->GetNext())
        items.push_back(Look(*item));
    EXPECT_EQ(items.size(), static_cast<std::size_t>(list->GetCount())) << platform::ToUtf8(path);
    std::sort(items.begin(), items.end());
    const auto folders = folder->GetFolders();
    for (std::int32_t i = 1; i <= folders->GetCount(); ++i) {
        const auto child = folders->GetFolder(i);
        AddFolder(child, path + u"\\" + child->GetName(), into);
    }
}

}  // namespace

void PrintTo(const SeenItem& item, std::ostream* out)
{
    using platform::ToUtf8;
    *out << "[" << ToUtf8(item.messageClass) << " '" << ToUtf8(item.subject) << "' from '"
         << ToUtf8(item.sender) << "' to '" << ToUtf8(item.to) << "' sent " << item.sent << " delivered "
         << item.delivered << " with " << item.attachments << " attachments, body of " << item.body.size()
         << " '" << ToUtf8(item.body.substr(0, 40)) << "']";
}

SeenStore ReadStore(const std::filesystem::path& path)
{
    SeenStore store;
    try {
        component::CBuiltInComponent component(platform::HostFileSystem(), "none");
        const auto opened = component.CreateSession()->GetStores()->OpenPstStore(path, writer::Missing{});
        AddFolder(opened->GetRootFolder(), u"", store);
    } catch (const writer::_com_error& error) {
        ADD_FAILURE() << "the store cannot be read: " << error.what();
    }
    return store;
}

SeenStore Expected(const StoreDescription& description)
{
    SeenStore store;
    for (const StoreFolder& folder : description.folders)
        AddExpected(folder, u"", store);
    return store;
}

std::size_t CountItems(const SeenStore& store)
{
    std::size_t count = 0;
    for (const auto& [path, items] : store)
        count += items.size();
    return count;
}

std::vector<SeenItem> AllItems(const SeenStore& store)
{
    std::vector<SeenItem> all;
    for (const auto& [path, items] : store)
        all.insert(all.end(), items.begin(), items.end());
    std::sort(all.begin(), all.end());
    return all;
}

std::string NameOfVariant(const testing::TestParamInfo<format::Variant>& tested)
{
    using format::Variant;
    return tested.param == Variant::Ansi      ? "Ansi"
           : tested.param == Variant::Unicode ? "Unicode"
                                              : "Unicode4k";
}

CRepair::CRepair(const Bytes& source, const std::string& fileName)
{
    settings.sourcePath = folder / fileName;
    platform::HostFileSystem().Create(settings.sourcePath)->WriteAt(0, source);
    Prepare();
}

CRepair::CRepair(const std::filesystem::path& source)
{
    settings.sourcePath = source;
    Prepare();
}

void CRepair::Prepare()
{
    settings.destinationFolder = folder / "out";
    std::filesystem::create_directory(settings.destinationFolder);
}

void CRepair::Run()
{
    component::CBuiltInComponent component(files, folder / "profiles", checkpoints);
    recovery::CRecoveryPipeline pipeline(component);
    store::COutLook engine(files, frontEnd, pipeline);
    engine.Run(settings, state);
}

SeenStore CRepair::ReadBack() const
{
    SeenStore store;
    try {
        component::CBuiltInComponent component(platform::HostFileSystem(), folder / "profiles");
        const auto session = component.CreateSession();
        session->Logon(state.profileName);
        AddFolder(session->GetStores()->GetDefaultStore()->GetRootFolder(), u"", store);
    } catch (const writer::_com_error& error) {
        ADD_FAILURE() << "the new store cannot be read: " << error.what();
    }
    return store;
}

std::vector<std::string> CRepair::Strangers() const
{
    const std::filesystem::path made =
        settings.destinationFolder / (settings.sourcePath.stem().string() + " Recovered");
    const std::set<std::filesystem::path> known = {settings.sourcePath,
                                                   settings.destinationFolder,
                                                   folder / "profiles",
                                                   made,
                                                   made / (made.filename().string() + ".pst"),
                                                   made / "LogInformation.log",
                                                   made / "FirstTableItem.dat"};
    const auto isKnown = [&](const std::filesystem::path& path) {
        return known.contains(path) || path.parent_path() == folder / "profiles";
    };
    std::vector<std::string> strangers;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.Path())) {
        if (!isKnown(entry.path()))
            strangers.push_back(entry.path());
    }
    for (const std::filesystem::path& path : files.made) {
        if (!isKnown(path))
            strangers.push_back(path);
    }
    return strangers;
}

std::unique_ptr<CRepair> RepairOf(const StoreDescription& description)
{
    auto repair = std::make_unique<CRepair>(CBuiltStore(description).Content(),
                                            description.format.ost ? "source.ost" : "source.pst");
    repair->Run();
    EXPECT_FALSE(repair->state.failed) << repair->frontEnd.Boxes();
    EXPECT_EQ(repair->frontEnd.completions, 1);
    return repair;
}

void ExpectRecovered(const SeenStore& found, const SeenStore& expected)
{
    for (const auto& [path, items] : expected) {
        const auto there = found.find(path);
        ASSERT_NE(there, found.end()) << "folder " << platform::ToUtf8(path) << " is missing";
        std::vector<SeenItem> missing, unexpected;
        std::set_difference(items.begin(), items.end(), there->second.begin(), there->second.end(),
                            std::back_inserter(missing));
        std::set_difference(there->second.begin(), there->second.end(), items.begin(), items.end(),
                            std::back_inserter(unexpected));
        EXPECT_TRUE(missing.empty() && unexpected.empty())
            << platform::ToUtf8(path) << "\nmissing: " << testing::PrintToString(missing)
            << "\nunexpected: " << testing::PrintToString(unexpected);
    }
    EXPECT_EQ(CountItems(found), CountItems(expected)) << "items in folders that should not be";
}

}  // namespace pastille::tests
