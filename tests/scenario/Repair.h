#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "component/BuiltInComponent.h"
#include "recovery/RecoveryPipeline.h"
#include "store/OutLook.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/RecordingFrontEnd.h"
#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// What an item of a store shows, as a test compares it.
struct SeenItem {
    std::u16string messageClass, subject, sender, to, body;
    double sent = 0, delivered = 0;
    int attachments = 0;
    auto operator<=>(const SeenItem&) const = default;
};
void PrintTo(const SeenItem& item, std::ostream* out);

/// Folders by path below the root ("\Inbox\Old"; "" is the root), each with its items in order of subject.
using SeenStore = std::map<std::u16string, std::vector<SeenItem>>;

/// What any store holds that the component can open.
SeenStore ReadStore(const std::filesystem::path& path);

/// What a description holds, at the paths that a repair gives it. Mails only as far as SeenItem goes.
SeenStore Expected(const StoreDescription& description);
std::size_t CountItems(const SeenStore& store);
/// All items, whatever their folder.
std::vector<SeenItem> AllItems(const SeenStore& store);

/// Names a test of one variant.
std::string NameOfVariant(const testing::TestParamInfo<format::Variant>& tested);

/// One repair of a store, start to end, into a folder of its own.
class CRepair {
public:
    explicit CRepair(const Bytes& source, const std::string& fileName = "source.pst");
    /// Of a file that lies elsewhere.
    explicit CRepair(const std::filesystem::path& source);

    /// Makes the repair. Everything public may be set before.
    void Run();

    /// Opens the result with a session of its own, as the preview does.
    SeenStore ReadBack() const;
    bool HasResult() const { return std::filesystem::exists(state.outputPath); }
    /// Files and folders of the test's folder, and those asked of the file system anywhere, that a run has no
    /// business to make.
    std::vector<std::string> Strangers() const;

    CTemporaryFolder folder;
    platform::RunSettings settings;
    platform::RunState state;
    CRecordingFrontEnd frontEnd;
    CFaultyFileSystem files;  ///< under the engine and under the component
    component::pst::CheckpointPolicy checkpoints;

private:
    void Prepare();
};

/// The whole run of a described store. It must end well.
std::unique_ptr<CRepair> RepairOf(const StoreDescription& description);

/// Every folder and item of `expected` must be in `found`, and no item more.
void ExpectRecovered(const SeenStore& found, const SeenStore& expected);

}  // namespace pastille::tests
