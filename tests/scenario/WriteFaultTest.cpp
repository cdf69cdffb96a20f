#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <system_error>

#include "tests/scenario/MadeStore.h"
#include "tests/scenario/Repair.h"
#include "tests/support/OutsideReaders.h"

namespace pastille::tests {
namespace {

/// A failure of the host and what becomes of it.
struct Fault {
    int code;
    writer::HRESULT result;
    bool isForGood;  ///< else a single change fails
};
constexpr Fault kFaults[] = {
    {ENOSPC, writer::E_MEDIUMFULL, true},
    {EIO, writer::E_WRITEFAULT, false},
    {EDQUOT, writer::E_MEDIUMFULL, false},
};

/// Fails the change `at` of files that `concerns` names, half-made, and counts them.
class CFailingChange {
public:
    CFailingChange(std::uint64_t at, Fault fault, std::function<bool(const std::filesystem::path&)> concerns)
        : m_at(at), m_fault(fault), m_concerns(std::move(concerns))
    {
    }
    void operator()(const FileChange& change)
    {
        if (!m_concerns(change.path))
            return;
        ++count;
        if (count < m_at || (count > m_at && !m_fault.isForGood))
            return;
        if (count == m_at)
            MakeHalf(change);
        throw std::system_error(m_fault.code, std::generic_category());
    }
    std::uint64_t count = 0;

private:
    std::uint64_t m_at;
    Fault m_fault;
    std::function<bool(const std::filesystem::path&)> m_concerns;
};

constexpr std::uint64_t kNever = ~std::uint64_t{0};

StoreDescription TwoFolders()
{
    StoreDescription store;
    store.folders = {{.name = u"Inbox", .containerClass = u"IPF.Note"},
                     {.name = u"Old", .containerClass = u"IPF.Note"}};
    for (unsigned i = 0; i < 10; ++i) {
        StoreMessage mail =
            Mail(u"Letter " + std::u16string(1, static_cast<char16_t>(u'A' + i)), u"Ada Brook",
                 std::u16string(i % 3 == 0 ? 9000 : 20, u't'), FileTime(2020, 6, 1 + i));
        if (i % 4 == 0)
            mail.attachments.push_back({.fileName = u"file.bin", .data = Bytes(12'000, std::byte{7})});
        store.folders[i / 5].messages.push_back(mail);
    }
    return store;
}

/// Expects whole items of the source and nothing else. Returns how many there are.
std::size_t ExpectItemsOf(const SeenStore& source, const SeenStore& found)
{
    for (const auto& [path, items] : found) {
        const auto there = source.find(path);
        EXPECT_TRUE(items.empty() || (there != source.end() && std::ranges::includes(there->second, items)))
            << path << ": " << testing::PrintToString(items);
    }
    return CountItems(found);
}

/// A repair that was to fail: what it says and what it leaves must go together.
void ExpectEarlyEnd(const CRepair& repair, const SeenStore& source, const Fault& fault)
{
    const std::string boxes = repair.frontEnd.Boxes();
    EXPECT_EQ(repair.frontEnd.completions, 0);
    EXPECT_TRUE(boxes.starts_with("Error: ")) << boxes;
    EXPECT_EQ(boxes.find("\nError: "), std::string::npos) << boxes;
    const std::string path = repair.state.outputPath;
    EXPECT_EQ(repair.HasResult(), boxes.ends_with("\nWhat was saved until then is kept at:" + path)) << boxes;
    if (!repair.HasResult())
        return;
    EXPECT_TRUE(boxes.starts_with(fault.result == writer::E_MEDIUMFULL
                                      ? "Error: There is no room left for the new .pst file."
                                      : "Error: The new .pst file could not be written"))
        << boxes;
    ExpectSound(FileBytes(path), fault.isForGood ? Ending::Interrupted : Ending::Closed);
    const std::size_t items = ExpectItemsOf(source, repair.ReadBack());
    EXPECT_GT(items, 0u) << "an empty store is kept";
    static int kept = 0;
    const auto seen = ++kept % 10 == 1 ? CountWithReadpst(path) : std::nullopt;
    EXPECT_EQ(seen ? seen->messages : items, items) << "to readpst";
}

TEST(WriteFault, OfAnyChangeEndsARepairWithWhatWasSaved)
{
    const CBuiltStore store(TwoFolders());
    const SeenStore source = Expected(TwoFolders());
    const auto run = [&](CRepair& repair, CFailingChange& failing) {
        repair.checkpoints.bytes = 0;
        repair.files.faults.syncs = false;
        repair.files.faults.onChange = std::ref(failing);
        repair.Run();
    };
    const auto all = [](const std::filesystem::path&) { return true; };
    CFailingChange none(kNever, kFaults[0], all);
    {
        CRepair repair(store.Content());
        run(repair, none);
        ASSERT_EQ(repair.frontEnd.completions, 1) << repair.frontEnd.Boxes();
    }
    std::size_t kept = 0;
    for (std::uint64_t at = 1; at <= none.count && !testing::Test::HasFailure(); at += 4) {
        const Fault& fault = kFaults[at % std::size(kFaults)];
        SCOPED_TRACE("error " + std::to_string(fault.code) + " of change " + std::to_string(at));
        CRepair repair(store.Content());
        CFailingChange failing(at, fault, all);
        run(repair, failing);
        if (repair.state.failed)
            ExpectEarlyEnd(repair, source, fault);
        else  // it was one of the log
            EXPECT_EQ(ExpectItemsOf(source, repair.ReadBack()), 10u);
        kept += repair.state.failed && repair.HasResult();
    }
    EXPECT_GT(kept, none.count / 16) << "many failures come when there is something to keep";
}

}  // namespace
}  // namespace pastille::tests
