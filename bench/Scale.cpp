// Builds one large store through the component's interfaces and says what that took.

#include "component/BuiltInComponent.h"
#include "platform/FileSystem.h"
#include "writer/ComError.h"
#include "writer/Component.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pastille::bench {
namespace {

using writer::CRef;
using writer::IMessageItem;
using writer::IMessageStore;
using writer::IStoreFolder;
using writer::IStoreSession;
namespace property = writer::property;

constexpr std::u16string_view kProfile = u"Scale";
constexpr std::u16string_view kStoreName = u"Scale";
constexpr std::uint64_t kLargestAttachment = 0x7FFFFFFF;

/// Bytes that differ from block to block, so that no two blocks are alike.
class CCountedStream final : public platform::IByteStream {
public:
    explicit CCountedStream(std::uint64_t size) : m_left(size) {}
    std::size_t Read(std::span<std::byte> into) override
    {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(into.size(), m_left));
        std::ranges::fill(into.first(count), static_cast<std::byte>(m_left >> 13));
        m_left -= count;
        return count;
    }

private:
    std::uint64_t m_left;
};

std::u16string Wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

/// A new store with one session, in a file and a profile of their own.
struct NewStore {
    explicit NewStore(const std::filesystem::path& file)
        : factory(platform::HostFileSystem(), file.string() + ".profiles")
    {
        factory.CreateProfiles()->AddProfile(kProfile, 0, writer::Empty{});
        session = factory.CreateSession();
        session->Logon(std::u16string(kProfile));
        store = session->GetStores()->AddPstStore(file, writer::Missing{}, std::u16string(kStoreName));
        root = store->GetRootFolder();
    }

    static CRef<IStoreFolder> AddFolder(const CRef<IStoreFolder>& parent, const std::string& name)
    {
        return writer::QueryInterface<IStoreFolder>(
            parent->GetFolders()->AddFolder(Wide(name), writer::Missing{}));
    }
    static CRef<IMessageItem> AddMail(const CRef<IStoreFolder>& folder, std::uint64_t number)
    {
        auto mail =
            writer::QueryInterface<IMessageItem>(folder->GetItems()->AddItem(std::u16string(u"IPM.Note")));
        const std::string text = std::to_string(number);
        mail->SetText(property::Subject, Wide("About number " + text));
        mail->SetText(property::SenderName, u"Ada Sender");
        mail->SetText(property::SenderEmailAddress, Wide("ada" + text + "@example.org"));
        mail->SetText(property::DisplayTo, u"Bob Receiver");
        mail->SetText(property::Body, Wide("Dear Bob,\r\n\r\nthis is number " + text + ".\r\n"));
        mail->SetDate(property::DeliveryTime, 45000.0 + static_cast<double>(number % 100000) / 100);
        return mail;
    }

    component::CBuiltInComponent factory;
    CRef<IStoreSession> session;
    CRef<IMessageStore> store;
    CRef<IStoreFolder> root;
};

/// The result code that a call raises; nothing when it succeeds.
std::optional<writer::HRESULT> ErrorOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const writer::_com_error& error) {
        return error.Error();
    }
    return std::nullopt;
}

void Require(bool isRight, const char* what)
{
    if (!isRight)
        throw std::runtime_error(what);
}

// Each of these fills a store and returns how many items it has made. Folders count as items.

std::uint64_t FillOneFolder(NewStore& to, std::uint64_t items)
{
    const auto folder = to.AddFolder(to.root, "All");
    for (std::uint64_t i = 0; i < items; ++i)
        to.AddMail(folder, i)->Save();
    return items;
}

/// Mail after mail goes to the next folder, so that all of them grow side by side.
std::uint64_t FillFolders(NewStore& to, std::uint64_t folders, std::uint64_t itemsEach)
{
    std::vector<CRef<IStoreFolder>> all;
    for (std::uint64_t i = 0; i < folders; ++i)
        all.push_back(to.AddFolder(to.root, "Folder " + std::to_string(i)));
    for (std::uint64_t i = 0; i < folders * itemsEach; ++i)
        to.AddMail(all[i % folders], i)->Save();
    return folders * (1 + itemsEach);
}
std::uint64_t FillFlatFolders(NewStore& to, std::uint64_t folders)
{
    return FillFolders(to, folders, 0);
}
std::uint64_t FillInterleaved(NewStore& to, std::uint64_t folders)
{
    return FillFolders(to, folders, 10);
}
std::uint64_t FillSideBySide(NewStore& to, std::uint64_t folders)
{
    return FillFolders(to, folders, 100);
}

/// Folder in folder, each found again by its path.
std::uint64_t NestFolders(NewStore& to, std::uint64_t depth)
{
    CRef<IStoreFolder> folder = to.root;
    std::u16string path = u"\\\\" + std::u16string(kStoreName);
    for (std::uint64_t i = 0; i < depth; ++i) {
        const std::string name = "Level number " + std::to_string(i);
        to.AddFolder(folder, name);
        path += u"\\" + Wide(name);
        folder = to.session->GetFolderFromPath(path);
        to.AddMail(folder, i)->Save();
    }
    return 2 * depth;
}

std::uint64_t AttachMany(NewStore& to, std::uint64_t attachments)
{
    const auto mail = to.AddMail(to.root, 0);
    const auto list = mail->GetAttachments();
    for (std::uint64_t i = 0; i < attachments; ++i) {
        CCountedStream content(100);
        list->AddAttachment(content, Wide("file" + std::to_string(i) + ".txt"), u"");
    }
    mail->Save();
    return attachments;
}

std::uint64_t AttachLarge(NewStore& to, std::uint64_t bytes)
{
    const auto mail = to.AddMail(to.root, 0);
    CCountedStream content(bytes);
    mail->GetAttachments()->AddAttachment(content, u"large.bin", u"");
    mail->Save();
    if (bytes == kLargestAttachment) {
        CCountedStream tooLong(bytes + 1);
        const auto error = ErrorOf([&] { mail->GetAttachments()->AddAttachment(tooLong, u"more.bin", u""); });
        Require(error.has_value(), "an attachment of 2^31 bytes was taken");
        std::fprintf(stderr, "one byte more: 0x%08X\n", static_cast<unsigned>(*error));
    }
    return 1;
}

/// Mails with 500 named properties each, until no name can be had any more, and once more with the same
/// names.
std::uint64_t UseNames(NewStore& to, std::uint64_t properties)
{
    constexpr std::uint64_t kEach = 500;
    constexpr format::Guid kSet{0x7A9C0F11, 0x55AA, 0x4D10, {0x80, 1, 2, 3, 4, 5, 6, 7}};
    const auto named = [&](std::uint64_t number) {
        return property::NamedNumber("", kSet, static_cast<std::uint32_t>(0x8000 + number));
    };
    std::uint64_t names = properties, done = 0;
    while (done < properties) {
        const auto mail = to.AddMail(to.root, done);
        for (std::uint64_t i = 0; i < kEach && done < properties; ++i) {
            const auto error = ErrorOf([&] { mail->SetNumber(named(done % names), 1); });
            if (error) {
                Require(names == properties, "a name that has an id was refused");
                std::fprintf(stderr, "name %llu: 0x%08X\n", static_cast<unsigned long long>(done + 1),
                             static_cast<unsigned>(*error));
                names = done;
                break;
            }
            ++done;
        }
        mail->Save();
    }
    return done;
}

/// Mails with one attachment of 50 MB each.
std::uint64_t FillGigabytes(NewStore& to, std::uint64_t gigabytes)
{
    constexpr std::uint64_t kEach = 50'000'000;
    const std::uint64_t mails = gigabytes * 1'000'000'000 / kEach;
    for (std::uint64_t i = 0; i < mails; ++i) {
        const auto mail = to.AddMail(to.root, i);
        CCountedStream content(kEach);
        mail->GetAttachments()->AddAttachment(content, u"film.bin", u"");
        mail->Save();
    }
    return mails;
}

struct Case {
    std::string_view name;
    std::uint64_t (*fill)(NewStore&, std::uint64_t count);
};
constexpr Case kCases[] = {
    {"one-folder", FillOneFolder},     {"folders", FillFlatFolders}, {"interleaved", FillInterleaved},
    {"side-by-side", FillSideBySide},  {"nested", NestFolders},      {"attachments", AttachMany},
    {"attachment-bytes", AttachLarge}, {"names", UseNames},          {"gigabytes", FillGigabytes},
};

double SecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Prints items, seconds to build them and seconds for the last commit.
void Run(const Case& what, std::uint64_t count, const std::filesystem::path& file)
{
    const auto start = std::chrono::steady_clock::now();
    NewStore to(file);
    const std::uint64_t items = what.fill(to, count);
    const double built = SecondsSince(start);
    to.store->Commit();
    std::printf("%llu %.3f %.3f\n", static_cast<unsigned long long>(items), built,
                SecondsSince(start) - built);
}

std::optional<std::uint64_t> ParseCount(std::string_view text)
{
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(count) : std::nullopt;
}

int Main(std::span<char*> arguments)
{
    const auto* const what =
        arguments.size() == 4 ? std::ranges::find(kCases, arguments[1], &Case::name) : std::end(kCases);
    const auto count = arguments.size() == 4 ? ParseCount(arguments[2]) : std::nullopt;
    if (what == std::end(kCases) || !count) {
        std::fputs("scale CASE COUNT FILE; CASE is one of", stderr);
        for (const Case& known : kCases)
            std::fprintf(stderr, " %s", known.name.data());
        std::fputs("\n", stderr);
        return 2;
    }
    try {
        Run(*what, *count, arguments[3]);
        return 0;
    } catch (const writer::_com_error& error) {
        std::fprintf(stderr, "0x%08X %s\n", static_cast<unsigned>(error.Error()), error.what());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}

}  // namespace
}  // namespace pastille::bench

int main(int argc, char** argv)
{
    return pastille::bench::Main(std::span(argv, static_cast<std::size_t>(argc)));
}
