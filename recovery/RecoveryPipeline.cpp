#include "recovery/RecoveryPipeline.h"

#include <exception>
#include <string>
#include <utility>

#include "platform/Text.h"
#include "recovery/FolderPhase.h"
#include "recovery/ItemWalk.h"
#include "recovery/OutputSetup.h"
#include "recovery/StoreRemains.h"
#include "recovery/Texts.h"

namespace pastille::recovery {

namespace {

std::u16string_view CauseOf(writer::HRESULT failure)
{
    switch (failure) {
        case writer::E_MEDIUMFULL:
            return text::kNoRoom;
        case writer::E_WRITEFAULT:
            return text::kWriteFailed;
        default:
            return text::kNotCompleted;
    }
}

}  // namespace

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
    m_failure.reset();
    m_failureShown = false;
    m_account.reset();
    const SetupHost host{m_options.clock, m_options.helperProgram, m_options.startProgram};
    try {
        COutputSetup(run, m_recovery, m_component, host).Run();
    } catch (const _com_error& error) {
        run.source.file.Close();
        m_recovery.log.Close();
        Fail(run, error);
        run.ShowError(text::kComponentFailed);
        m_failureShown = true;
    }
}

void CRecoveryPipeline::WriteLog(std::u16string_view entry)
{
    m_recovery.log.Write(entry);
    m_recovery.log.Flush();
}

void CRecoveryPipeline::CollectFolders(store::RunContext& run)
try {
    if (run.source.complete) {
        m_complete = std::make_unique<complete::CCompleteRecovery>(run, m_recovery);
        m_complete->CollectFolders();
    } else {
        CFolderPhase(run, m_recovery).Run();
    }
} catch (const _com_error& error) {
    Fail(run, error);
}

void CRecoveryPipeline::RecoverItems(store::RunContext& run)
try {
    if (m_complete)
        m_complete->RecoverItems();
    else
        CItemWalk(run, m_recovery).Run();
} catch (const _com_error& error) {
    Fail(run, error);
}

void CRecoveryPipeline::CloseOutput(store::RunContext& run)
{
    CompleteStore(run);
    ReportComplete(run);
    m_recovery.output.Release();
    bool isKept = true;
    if (run.state.failed && m_recovery.ownsOutputFile) {
        isKept = IsWorthKeeping(m_component, run.fileSystem, run.state.outputPath);
        if (!isKept) {
            run.state.hasOutput = false;
            run.fileSystem.Remove(run.state.outputPath);
        }
    }
    if (m_failure && !m_failureShown)
        TellEarlyEnd(run, isKept);
    m_recovery.log.Close();
    m_recovery.ownsOutputFile = false;
    m_recovery.folders.Clear();
}

void CRecoveryPipeline::CompleteStore(store::RunContext& run)
try {
    if (m_recovery.output.store && !m_failure)
        m_recovery.output.store->Commit();
} catch (const _com_error& error) {
    m_failureShown = run.state.failed;  // what came before, as a full disk mostly, has been told
    Fail(run, error);
}

/// Of the run as far as it came. Of one that failed nobody knows how much of it is in the store. A report
/// that cannot be made does not spoil the store.
void CRecoveryPipeline::ReportComplete(store::RunContext& run)
{
    if (!m_complete || run.state.failed) {
        m_complete.reset();
        return;
    }
    bool isWritten = false;
    try {
        m_account = m_complete->Account();
        isWritten = complete::WriteReport(run.fileSystem, run.state.outputFolder / complete::kReportFileName,
                                          complete::ReportText(*m_account, m_complete->Facts()));
    } catch (const std::exception&) {
        m_account.reset();
    }
    if (!isWritten)
        m_recovery.log.Write(u"\r\n\r\nThe report could not be written.");
    m_complete.reset();
}

void CRecoveryPipeline::TellEarlyEnd(store::RunContext& run, bool isKept)
{
    std::u16string told(CauseOf(*m_failure));
    m_recovery.log.Write(u"\r\n\r\n" + told);
    told.append(text::kEndedEarly).append(isKept ? text::kKept : text::kNothingKept);
    run.ShowError(told + platform::PathText(run.state.outputPath));
    m_failureShown = true;
}

void CRecoveryPipeline::Fail(store::RunContext& run, const _com_error& error)
{
    m_failure = error.Error();
    run.state.failed = true;
}

}  // namespace pastille::recovery
