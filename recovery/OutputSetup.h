#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "recovery/RecoveryRun.h"
#include "recovery/RunLog.h"
#include "store/OutLook.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// Names that a run derives from its source and destination.
struct OutputNames {
    std::filesystem::path folder;  ///< output folder
    std::filesystem::path pst;     ///< the new store, in the output folder
    std::filesystem::path log;
    std::u16string profile;
};

/// Name of the new store: the source's file name up to its first ".", nothing when it has none, and "
/// Recovered". A "\" becomes "_", since it separates folder names in paths of the new store; likewise what
/// the host allows in no name.
std::string StoreNameOf(const std::filesystem::path& sourcePath);
/// The names of one candidate: `suffix` is "" or a decimal number.
OutputNames CandidateNames(const std::filesystem::path& destinationFolder, const std::string& storeName,
                           const std::string& suffix);

/// Name of the special folder of a new store that is its default one of that kind (writer::folderkind); ""
/// for kinds that have none.
std::u16string_view DefaultFolderName(std::int32_t kind);

/// What the set-up needs of the host.
struct SetupHost {
    const Clock& clock;
    const std::filesystem::path& helperProgram;
    const std::function<bool(const std::filesystem::path&)>& startProgram;  ///< may be empty
};

/// Phase 3: fixes the names, creates the output folder, the profile, the new store with its five special
/// folders, and the log with its header.
class COutputSetup {
public:
    COutputSetup(store::RunContext& run, RecoveryRun& recovery, writer::IComponentFactory& component,
                 const SetupHost& host)
        : m_run(run), m_recovery(recovery), m_component(component), m_host(host)
    {
    }

    /// Raises _com_error when the component fails, store::RunEnded when it is not there. Shows its message
    /// and sets the failure flag when the output folder cannot be created.
    void Run();

private:
    [[noreturn]] void RegisterComponent();
    bool ChooseCandidate(const std::string& storeName);
    bool IsProfileFree(const std::u16string& name);
    bool CreateOutputFolder();
    void CreateStore();
    void OpenLog();

    store::RunContext& m_run;
    RecoveryRun& m_recovery;
    writer::IComponentFactory& m_component;
    const SetupHost& m_host;
    OutputNames m_names;
};

}  // namespace pastille::recovery
