#include "recovery/RecoveryPipeline.h"

#include <utility>

#include "recovery/FolderPhase.h"
#include "recovery/ItemWalk.h"
#include "recovery/OutputSetup.h"
#include "recovery/Texts.h"

namespace pastille::recovery {

using writer::_com_error;

CRecoveryPipeline::CRecoveryPipeline(writer::IComponentFactory& component, RecoveryOptions options)
    : m_component(component), m_options(std::move(options))
{
}

void CRecoveryPipeline::SetUpOutput(store::RunContext& run)
{
    m_recovery.output.Release();
    m_recovery = RecoveryRun();
    m_recovery.clock = m_options.clock;
    m_storeFailed = false;
    const SetupHost host{m_options.clock, m_options.helperProgram, m_options.startProgram};
    try {
        COutputSetup(run, m_recovery, m_component, host).Run();
    } catch (const _com_error&) {
        run.source.file.Close();
        Fail(run);
    }
}

void CRecoveryPipeline::WriteLog(std::u16string_view entry)
{
    m_recovery.log.Write(entry);
}

void CRecoveryPipeline::CollectFolders(store::RunContext& run)
try {
    CFolderPhase(run, m_recovery).Run();
} catch (const _com_error&) {
    Fail(run);
}

void CRecoveryPipeline::RecoverItems(store::RunContext& run)
try {
    CItemWalk(run, m_recovery).Run();
} catch (const _com_error&) {
    Fail(run);
}

void CRecoveryPipeline::CloseOutput(store::RunContext& run)
{
    m_recovery.log.Close();
    if (m_recovery.output.store && !m_storeFailed) {
        try {
            m_recovery.output.store->Commit();
        } catch (const _com_error&) {
            Fail(run);
        }
    }
    m_recovery.output.Release();
    // A file that could not be completed, or a failed run's empty one, must not pass for a result.
    const bool isEmpty = m_recovery.figures.Items() == 0;
    if ((m_storeFailed || (run.state.failed && isEmpty)) && m_recovery.ownsOutputFile)
        run.fileSystem.Remove(run.state.outputPath);
    m_recovery.ownsOutputFile = false;
    m_recovery.folders.Clear();
}

void CRecoveryPipeline::Fail(store::RunContext& run)
{
    m_storeFailed = true;
    m_recovery.log.Close();
    run.state.failed = true;
    run.ShowError(text::kComponentFailed);
}

}  // namespace pastille::recovery
