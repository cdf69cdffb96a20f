#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "format/Bytes.h"
#include "recovery/Survey.h"
#include "tests/recovery/RecoverySupport.h"
#include "tests/support/Samples.h"

namespace pastille::tests {
namespace {

using Counts = std::map<std::string, std::uint64_t>;

/// Items by folder and by class, each one only where there are any.
struct Contents {
    Counts folders, classes;
    std::uint64_t items = 0;
    bool operator==(const Contents&) const = default;
};
void PrintTo(const Contents& contents, std::ostream* out)
{
    *out << contents.items << testing::PrintToString(contents.folders)
         << testing::PrintToString(contents.classes);
}

std::unique_ptr<recovery::CSurvey> SurveyOf(platform::IFileSystem& files,
                                            const platform::RunSettings& settings,
                                            platform::IFrontEnd& frontEnd)
{
    auto survey = std::make_unique<recovery::CSurvey>();
    platform::RunState state;
    store::COutLook(files, frontEnd, *survey).Run(settings, state);
    EXPECT_TRUE(state.outputFolder.empty());
    return survey;
}

Contents ContentsOf(const recovery::SurveyFindings& findings)
{
    Contents contents{.folders = {}, .classes = {}, .items = findings.items};
    for (const auto& folder : findings.folders) {
        if (folder.items != 0)
            contents.folders[platform::ToUtf8(folder.path)] = folder.items;
    }
    for (const auto& [name, count] : findings.classes.Classes())
        contents.classes[platform::ToUtf8(name)] = count;
    return contents;
}

/// Without the mails that only carry what other items cannot.
void AddItems(const FakeFolder& folder, const std::string& path, Contents& contents)
{
    for (const FakeItem* item : folder.Saved()) {
        if (item->Text("SenderEmailAddress") == u"unknown@recovered.invalid")
            continue;
        ++contents.items;
        ++contents.folders[path];
        ++contents.classes[platform::ToUtf8(item->messageClass)];
    }
    for (const auto& child : folder.folders)
        AddItems(*child, path + "\\" + platform::ToUtf8(child->name), contents);
}

Contents Repaired(platform::IFileSystem& files, platform::RunSettings settings)
{
    const CTemporaryFolder to;
    settings.destinationFolder = to.Path();
    CFakeComponent component;
    CRecordingFrontEnd frontEnd;
    platform::RunState state;
    recovery::CRecoveryPipeline pipeline(component);
    store::COutLook(files, frontEnd, pipeline).Run(settings, state);
    EXPECT_FALSE(state.failed);
    Contents contents;
    AddItems(component.root, "", contents);
    return contents;
}

/// Every way that an item can go.
StoreDescription Everything(format::Variant variant)
{
    constexpr std::uint32_t kUnknownFolder = 0x9FC2;
    StoreDescription description;
    description.format = FormatOf(variant);
    description.messages = {ItemOf(u"IPM.Note"), ItemOf(u"IPM.Contact"), ItemOf(u"IPM.MessageManager")};
    const auto labelled = [](const char* label, std::u16string messageClass, std::u16string_view subject) {
        StoreMessage item = Mail(subject, u"sender", u"body", 0);
        item.label = label;
        item.messageClass = std::move(messageClass);
        return item;
    };
    StoreMessage photographed = ItemOf(u"IPM.Appointment");
    photographed.attachments = {File(u"photo.jpg", "bytes")};
    description.folders = {
        {.name = u"Inbox",
         .messages = {ItemOf(u"IPM.Note"), ItemOf(u"IPM.Note"), ItemOf(u"IPM.Note.Custom"), ItemOf(u"IP"),
                      ItemOf(u"XYZ"), ItemOf(u"IPM.Configuration.WorkHours"), photographed,
                      ItemOf(u"IPM.Note", 0), labelled("twice", u"IPM.Task", u"IPM.Contact"),
                      labelled("mail", u"IPM.Note", u"x"), labelled("task", u"IPM.Task", u"x")},
         .folders = {{.name = u"Old", .messages = {ItemOf(u"Report.IPM.Note.NDR")}}, {.name = u"Empty"}}},
        {.name = u"Inbox", .messages = {ItemOf(u"IPM.StickyNote")}},
        {.name = u"Lost & Found", .messages = {ItemOf(u"IPM.Note")}},
        {.name = u"People",
         .containerClass = u"IPF.Contact",
         .messages = {ItemOf(u"IPM.Contact"), ItemOf(u"IPM.Contact", kUnknownFolder),
                      ItemOf(u"IPM.Note.Custom", kUnknownFolder)}}};
    return description;
}

/// Makes the subject of an item a second message class; without a value, one that cannot be read.
void ClassTwice(CBuiltStore& store, const std::string& label, bool hasValue)
{
    store.Damage().EditBlock(label + "/data", [hasValue](std::span<std::byte> bytes) {
        for (std::size_t at = 0; at + 8 <= bytes.size(); ++at) {
            const auto type = format::LoadLE<std::uint16_t>(bytes, at + 2);
            if (format::LoadLE<std::uint16_t>(bytes, at) != format::pid::kSubject ||
                (type != 0x1E && type != 0x1F))
                continue;
            format::StoreLE(bytes, at, format::pid::kMessageClass);
            if (!hasValue)
                format::StoreLE(bytes, at + 4, std::uint32_t{0xFFE0});
            return;
        }
    });
}

TEST(Survey, CountsWhatARepairBrings)
{
    for (const auto variant : kAllVariants) {
        CBuiltStore store(Everything(variant));
        ClassTwice(store, "twice", true);
        ClassTwice(store, "mail", false);
        ClassTwice(store, "task", false);
        CSourceInMemory files(store.Content());
        for (const bool smart : {false, true}) {
            SCOPED_TRACE(testing::Message() << "variant " << static_cast<int>(variant) << smart);
            platform::RunSettings settings;
            settings.sourcePath = CSourceInMemory::kSourcePath;
            settings.smartScan = smart;
            CRecordingFrontEnd frontEnd;
            const auto survey = SurveyOf(files, settings, frontEnd);
            ASSERT_TRUE(survey->Findings());
            const auto& findings = *survey->Findings();
            EXPECT_EQ(ContentsOf(findings), Repaired(files, settings));
            EXPECT_EQ(findings.lostAndFound, 3u);
            if (!smart) {
                EXPECT_EQ(findings.items, 16u) << testing::PrintToString(ContentsOf(findings));
            }
            const std::map<std::u16string, std::uint64_t> skipped = {{u"IPM.Configuration.WorkHours", 1},
                                                                     {u"IPM.Note.Custom", 1}};
            if (!smart) {
                EXPECT_EQ(findings.skippedClasses.Classes(), skipped);
            }
            const auto has = [&](std::u16string_view path) {
                return std::ranges::count(findings.folders, path, &recovery::SurveyFindings::Folder::path);
            };
            EXPECT_EQ(has(u"\\Inbox\\Empty"), 1) << "folders without items are folders";
            EXPECT_EQ(has(u"\\Inbox"), 1);
            EXPECT_EQ(has(u"\\Orphaned Mails"), smart ? 1 : 0);
        }
    }
}

TEST(Survey, CountsWhatARepairOfARealFileBrings)
{
    if (Samples().empty())
        GTEST_SKIP() << "no real store files: set PASTILLE_SAMPLES to a folder of them";
    for (const std::filesystem::path& sample : Samples()) {
        SCOPED_TRACE(sample);
        for (const bool smart : {false, true}) {
            platform::RunSettings settings;
            settings.sourcePath = sample;
            settings.smartScan = smart;
            CRecordingFrontEnd frontEnd;
            const auto survey = SurveyOf(platform::HostFileSystem(), settings, frontEnd);
            ASSERT_TRUE(survey->Findings());
            EXPECT_EQ(ContentsOf(*survey->Findings()), Repaired(platform::HostFileSystem(), settings));
            using enum store::DamageMap::Stretch;
            EXPECT_EQ(std::ranges::count(survey->Findings()->map.stretches, Good),
                      std::ssize(survey->Findings()->map.stretches))
                << "no file here is damaged, all have old pages and blocks in free space";
        }
    }
}

TEST(Survey, AStopEndsItWithoutFindings)
{
    const CBuiltStore store(Everything(format::Variant::Unicode));
    CSourceInMemory files(store.Content());
    for (const unsigned phase : {6u, 7u, 8u}) {
        recovery::CSurvey survey;
        platform::RunState state;
        CRecordingFrontEnd frontEnd;
        frontEnd.onMessage = [&](const platform::Message& message) {
            const auto* begun = std::get_if<platform::PhaseMessage>(&message);
            if (begun != nullptr && begun->phase == phase)
                state.stopRequested = true;
        };
        platform::RunSettings settings;
        settings.sourcePath = CSourceInMemory::kSourcePath;
        store::COutLook(files, frontEnd, survey).Run(settings, state);
        EXPECT_FALSE(survey.Findings()) << phase;
    }
}

TEST(Survey, DistinctClassesTakeABoundedPlace)
{
    recovery::CClassCounts counts;
    for (int i = 0; i < 3000; ++i)
        counts.Add(platform::FromUtf8(std::to_string(i) + std::string(5000, 'x')));
    counts.Add(platform::FromUtf8("0" + std::string(6000, 'x')));
    std::uint64_t all = counts.Others();
    std::size_t bytes = 0;
    for (const auto& [name, count] : counts.Classes()) {
        all += count;
        bytes += name.size() * sizeof name.front();
    }
    EXPECT_EQ(all, 3001u);
    EXPECT_LT(bytes, 600'000u);
}

}  // namespace
}  // namespace pastille::tests
