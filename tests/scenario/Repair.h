#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "component/BuiltInComponent.h"
#include "recovery/RecoveryPipeline.h"
#include "store/OutLook.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/FoundItems.h"
#include "tests/support/RecordingFrontEnd.h"
#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// What the items of a store show as a test compares it, each as one text, by folder path ("/Inbox/Old").
using SeenStore = std::map<std::string, std::multiset<std::string>>;

SeenStore SeenIn(const std::vector<FoundItem>& items);
/// What a description holds, at the paths that a repair gives it. Mails only as far as they are compared.
SeenStore Expected(const StoreDescription& description);
std::size_t CountItems(const SeenStore& store);
/// All items, whatever their folder.
std::multiset<std::string> AllItems(const SeenStore& store);

/// Names a test of one variant.
inline std::string NameOfVariant(const testing::TestParamInfo<format::Variant>& tested)
{
    return VariantName(tested.param);
}

/// One repair of a store, start to end, into a folder of its own.
class CRepair {
public:
    explicit CRepair(const Bytes& source, const std::string& fileName = "source.pst");
    /// Of a file that lies elsewhere.
    explicit CRepair(const std::filesystem::path& source);

    /// Makes the repair. Everything public may be set before.
    void Run();

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

}  // namespace pastille::tests
