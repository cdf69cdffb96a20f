#include "tests/scenario/MadeStore.h"

#include <algorithm>
#include <string>

#include "check/Check.h"
#include "component/BuiltInComponent.h"
#include "format/Bytes.h"
#include "format/Header.h"
#include "platform/Text.h"
#include "tests/support/ByteStreams.h"
#include "tests/support/FaultyFileSystem.h"
#include "writer/Component.h"

namespace pastille::tests {
namespace {

using namespace writer;

constexpr std::uint32_t kItemsPerFolder = 4;
constexpr std::uint32_t kItemsPerCommit = 3;
constexpr std::u16string_view kFolderName = u"Folder ";
constexpr std::u16string_view kSubject = u"Item ";
constexpr std::size_t kLongBody = 6'000;

/// What the next one to open an interrupted store for work puts right.
constexpr std::string_view kOfMaps[] = {"maps-open", "file-long",     "header-last-amap",
                                        "map-page",  "amap-unmarked", "amap-surplus",
                                        "pmap-bits", "amap-free",     "density-list"};

std::u16string Numbered(std::u16string_view text, std::uint32_t number)
{
    return std::u16string(text) + platform::FromUtf8(std::to_string(number));
}

bool IsSavedAgain(std::uint32_t item)
{
    return item % 4 == 1;
}

/// Long ones lie outside the heap of their message.
std::u16string BodyOf(std::uint32_t item, bool again)
{
    const std::u16string text = Numbered(again ? u"changed " : u"body ", item) + u". ";
    std::u16string body = text;
    while (item % 3 == 0 && body.size() < kLongBody)
        body += text;
    return body;
}

constexpr std::uint32_t kLargeItem = 4;
constexpr std::size_t kLargeBytes = 1'300'000;

/// Of the file attached.
std::size_t AttachedBytes(std::uint32_t item)
{
    return item % 2 == 0 ? 10'000 : 0;
}

bool HasEmbedded(std::uint32_t item)
{
    return item % 6 == 4;
}

std::string Pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((size - i) * 7 / 5);
    return bytes;
}

CRef<IMessageItem> NewItem(const CRef<IStoreFolder>& folder, std::uint32_t number)
{
    auto item = QueryInterface<IMessageItem>(folder->GetItems()->AddItem(std::u16string(u"IPM.Note")));
    item->SetText(property::Subject, Numbered(kSubject, number));
    item->SetText(property::Body, BodyOf(number, false));
    return item;
}

void Attach(const CRef<IStoreFolder>& folder, const CRef<IMessageItem>& item, std::uint32_t number,
            bool isLarge)
{
    if (const std::size_t size = isLarge ? kLargeBytes : AttachedBytes(number); size != 0) {
        CMemoryStream bytes(Pattern(size));
        item->GetAttachments()->AddAttachment(bytes, u"pattern.bin", u"");
    }
    if (HasEmbedded(number))
        item->GetAttachments()->AddAttachment(CRef<IStoreItem>(NewItem(folder, number)), u"inside");
}

void ExpectTexts(IMessageItem& item, std::uint32_t number)
{
    EXPECT_EQ(item.GetText(property::Subject), Numbered(kSubject, number));
    const std::u16string body = item.GetText(property::Body);
    EXPECT_TRUE(body == BodyOf(number, false) || (IsSavedAgain(number) && body == BodyOf(number, true)))
        << "body of item " << number;
}

void ExpectItem(IMessageItem& item, std::uint32_t number)
{
    ExpectTexts(item, number);
    const auto attachments = item.GetAttachments();
    std::int32_t count = 0;
    if (const std::size_t size = AttachedBytes(number); size != 0) {
        const auto attachment = attachments->GetAttachment(++count);
        const bool isLarge = number == kLargeItem && attachment->GetSize() == kLargeBytes;
        EXPECT_TRUE(ReadAll(*attachment->OpenContent()) == Pattern(isLarge ? kLargeBytes : size))
            << "attachment of item " << number;
    }
    if (HasEmbedded(number))
        ExpectTexts(*attachments->GetAttachment(++count)->GetItem(), number);
    EXPECT_EQ(attachments->GetCount(), count);
}

/// Returns how many items there are.
std::uint32_t ExpectItems(const CRef<IStoreFolder>& root)
{
    std::uint32_t number = 0;
    for (std::uint32_t i = 0; i < kMadeItems / kItemsPerFolder; ++i) {
        const auto folder = root->GetFolders()->GetFolder(Numbered(kFolderName, i));
        if (!folder)
            continue;
        EXPECT_EQ(number, i * kItemsPerFolder) << "items are missing before folder " << i;
        const auto items = folder->GetItems();
        for (std::int32_t at = 1; at <= items->GetCount(); ++at)
            ExpectItem(*items->GetItem(at), number++);
    }
    return number;
}

}  // namespace

std::string NameOfMaking(const testing::TestParamInfo<Making>& tested)
{
    return tested.param == Making::WithCommits       ? "WithCommits"
           : tested.param == Making::WithCheckpoints ? "WithCheckpoints"
                                                     : "WithLargeItem";
}

std::filesystem::path MadeStorePath(const std::filesystem::path& folder)
{
    return folder / "made.pst";
}

void MakeStore(platform::IFileSystem& files, const std::filesystem::path& folder, Making making,
               MakingProgress& progress)
{
    const std::u16string profile = u"maker";
    const bool commits = making != Making::WithCheckpoints;
    component::pst::CheckpointPolicy policy;
    if (!commits)
        policy.bytes = 0;
    component::CBuiltInComponent factory(files, folder / "profiles", policy);
    factory.CreateProfiles()->AddProfile(profile, 0, Empty{});
    const auto session = factory.CreateSession();
    session->Logon(profile);
    const auto store =
        session->GetStores()->AddPstStore(MadeStorePath(folder), Missing{}, std::u16string(u"made"));
    const auto folders = store->GetRootFolder()->GetFolders();
    CRef<IStoreFolder> target;
    for (std::uint32_t i = 0; i < kMadeItems; ++i) {
        if (i % kItemsPerFolder == 0)
            target = QueryInterface<IStoreFolder>(
                folders->AddFolder(Numbered(kFolderName, i / kItemsPerFolder), Missing{}));
        const auto item = NewItem(target, i);
        Attach(target, item, i, making == Making::WithLargeItem && i == kLargeItem);
        progress.begun = i + 1;
        item->Save();
        if (commits && i % kItemsPerCommit == kItemsPerCommit - 1)
            store->Commit();
        if (!commits || i % kItemsPerCommit == kItemsPerCommit - 1)
            progress.completed = i + 1;
        if (IsSavedAgain(i)) {
            item->SetText(property::Body, BodyOf(i, true));
            item->Save();
        }
    }
    store->Commit();
    progress.completed = kMadeItems;
}

void ExpectSound(const Bytes& file, Ending ending)
{
    CMemorySource source(file);
    check::CFindings findings;
    EXPECT_TRUE(check::CheckStore(source, findings));
    for (const check::Finding& finding : findings.Kept()) {
        const bool isAllowed = ending == Ending::Interrupted &&
                               finding.rule->severity == check::Severity::Warning &&
                               std::ranges::count(kOfMaps, finding.rule->code) != 0;
        EXPECT_TRUE(isAllowed) << finding.rule->code << " at " << finding.place << ": "
                               << finding.rule->sentence << " " << finding.detail;
    }
}

bool HasHeader(const Bytes& file)
{
    return file.size() >= sizeof(format::kHeaderMagic) &&
           format::LoadLE<std::uint32_t>(file, 0) == format::kHeaderMagic;
}

void ExpectMadeStore(const Bytes& file, const MakingProgress& progress, Ending ending)
{
    if (!HasHeader(file)) {
        EXPECT_EQ(progress.completed, 0u) << "the store is gone";
        return;
    }
    try {
        ExpectSound(file, ending);
        CMemoryFileSystem files(file);
        component::CBuiltInComponent factory(files, "profiles");
        const auto store = factory.CreateSession()->GetStores()->OpenPstStore("made.pst", Missing{});
        EXPECT_TRUE(store->GetOpeningFaults().empty());
        const std::uint32_t items = ExpectItems(store->GetRootFolder());
        EXPECT_GE(items, progress.completed);
        EXPECT_LE(items, progress.begun);
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
}

}  // namespace pastille::tests
