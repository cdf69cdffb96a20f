#include "tests/scenario/Repair.h"

#include <gtest/gtest.h>

#include <set>

#include "format/Checksum.h"
#include "tests/scenario/NewStore.h"
#include "writer/ValueConversion.h"

namespace pastille::tests {
namespace {

namespace pid = format::pid;

std::string SumOf(const Bytes& bytes)
{
    return std::to_string(bytes.size()) + " bytes, CRC " + std::to_string(format::ComputeCrc(bytes));
}

std::string Look(const FoundValues& values, const std::string& attachments)
{
    std::string look;
    for (const std::uint16_t id : {pid::kMessageClass, pid::kSubject, pid::kSenderName, pid::kDisplayTo})
        look += "'" + platform::ToUtf8(writer::SubjectText(TextValue(values, id))) + "' ";
    // Not the time of delivery: that of a mail which stands for another item is that of the repair.
    look += std::to_string(NumberValue(values, pid::kClientSubmitTime)) + " ";
    for (const std::uint16_t id : {pid::kBody, pid::kHtml}) {
        if (const auto body = values.find(id); body != values.end())
            look += SumOf(body->second.bytes) + " ";
    }
    return look + attachments;
}

std::string Look(const FoundItem& item)
{
    std::string attachments;
    for (const FoundAttachment& attachment : item.attachments)
        attachments += " [" +
                       (attachment.embedded.empty() ? SumOf(attachment.data) : Look(attachment.embedded[0])) +
                       "]";
    return Look(item.values, attachments);
}

std::string Look(const StoreMessage& message)
{
    FoundValues values;
    for (const StoreProperty& property : message.properties)
        values[property.id] = {property.type, property.value};
    values[pid::kMessageClass] = {format::PropertyType::String, Text(0, message.messageClass).value};
    std::string attachments;
    for (const StoreAttachment& attachment : message.attachments)
        attachments +=
            " [" + (attachment.embedded ? Look(*attachment.embedded) : SumOf(attachment.data)) + "]";
    return Look(values, attachments);
}

void AddExpected(const StoreFolder& folder, const std::string& parent, SeenStore& into)
{
    const std::string path = parent + "/" + platform::ToUtf8(folder.name);
    for (const StoreMessage& message : folder.messages)
        into[path].insert(Look(message));
    for (const StoreFolder& child : folder.folders)
        AddExpected(child, path, into);
}

}  // namespace

SeenStore SeenIn(const std::vector<FoundItem>& items)
{
    SeenStore store;
    for (const FoundItem& item : items)
        store[item.folder].insert(Look(item));
    return store;
}

SeenStore Expected(const StoreDescription& description)
{
    SeenStore store;
    for (const StoreFolder& folder : description.folders)
        AddExpected(folder, "", store);
    return store;
}

std::size_t CountItems(const SeenStore& store)
{
    return AllItems(store).size();
}

std::multiset<std::string> AllItems(const SeenStore& store)
{
    std::multiset<std::string> all;
    for (const auto& [path, items] : store)
        all.insert(items.begin(), items.end());
    return all;
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
    return SeenIn(ReadNewStore(state.outputPath));
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

}  // namespace pastille::tests
