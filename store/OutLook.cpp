#include "store/OutLook.h"

#include <exception>
#include <utility>
#include <vector>

#include "store/BlockCollector.h"
#include "store/NodeCollector.h"
#include "store/Validation.h"

namespace pastille::store {
namespace {

using platform::BoxMessage;

constexpr std::u16string_view kCannotOpen =
    u"Source file could not open.Make sure that another application is not using. ";
constexpr std::u16string_view kNotValid = u"Pst/Ost file is not valid.";
constexpr std::u16string_view kNoTemporaryFile = u"Some problem is encounterd to create temporary file.";
constexpr std::u16string_view kAborted = u"Recovery process aborted.\nRecovered at:";

// Of the run log.
constexpr std::u16string_view kScanEntry =
    u"\r\n\r\n-------------Scanning source file----------------\r\nCollecting NBT Entries";
constexpr std::u16string_view kBlockEntry = u"\r\nCollecting BBT Entries";

constexpr unsigned kValidationStep = 1;
constexpr unsigned kBlockScanStep = 2;
constexpr unsigned kNodeScanStep = 3;
constexpr std::size_t kClosingStep = 9;

constexpr const char* kBlockIndexName = "FirstTableItem.dat";

}  // namespace

void RunContext::BeginPhase(unsigned phase)
{
    StopClock();
    timedPhase = phase;
    lastPercent = ~0u;
    frontEnd.Send(platform::PhaseMessage{phase, false});
}

void RunContext::BeginClosing()
{
    StopClock();
    timedPhase = kClosingStep;
    frontEnd.Send(platform::PhaseMessage{8, true});
}

void RunContext::StopClock()
{
    const auto now = std::chrono::steady_clock::now();
    if (timedPhase != 0)
        figures.phaseSeconds[timedPhase] += std::chrono::duration<double>(now - phaseStart).count();
    phaseStart = now;
}

void RunContext::ReportPercent(unsigned percent, unsigned step)
{
    if (percent == lastPercent)
        return;
    lastPercent = percent;
    frontEnd.Send(platform::PercentMessage{percent, step});
}

void RunContext::ShowError(std::u16string_view text)
{
    frontEnd.Send(platform::CloseProgressMessage{});
    frontEnd.Send(BoxMessage{std::u16string(text), u"Error", BoxMessage::Icon::Error});
}

COutLook::COutLook(platform::IFileSystem& fileSystem, platform::IFrontEnd& frontEnd, IRecovery& recovery)
    : m_fileSystem(fileSystem), m_frontEnd(frontEnd), m_recovery(recovery)
{
}

COutLook::~COutLook() = default;

void COutLook::Run(const platform::RunSettings& settings, platform::RunState& state)
{
    m_figures = {};
    state.failed = false;
    CSourceStore source(settings.codePage);
    RunContext run{settings, state, m_frontEnd, m_fileSystem, source, m_figures};
    try {
        RunPhases(run);
    } catch (const RunEnded& ended) {
        state.failed = true;
        if (ended.cleanUp)
            CleanUp(run);
        return;
    } catch (const std::exception&) {
        // Most likely memory ran out. What was recovered so far is still completed and closed.
        run.ShowError(kNoTemporaryFile);
        state.failed = true;
    }
    CleanUp(run);
    ShowEnd(run);
}

void COutLook::RunPhases(RunContext& run)
{
    OpenSource(run);
    Validate(run);
    m_recovery.SetUpOutput(run);
    if (run.settings.complete) {
        ScanCompletely(run);
    } else {
        CollectNodes(run);
        CollectBlocks(run);
    }
    m_recovery.CollectFolders(run);
    m_recovery.RecoverItems(run);
}

void COutLook::OpenSource(RunContext& run)
{
    run.BeginPhase(1);
    if (!run.source.file.Open(m_fileSystem, run.settings.sourcePath)) {
        run.ShowError(kCannotOpen);
        throw RunEnded{false};
    }
    run.source.hundredth = run.source.file.Size() / 100;
}

void COutLook::Validate(RunContext& run)
{
    if (run.state.MustStop())
        return;
    run.BeginPhase(2);
    CSourceStore& source = run.source;
    const auto type = Recognise(run);
    if (!type) {
        if (run.state.MustStop())
            return;
        source.file.Close();
        run.ShowError(kNotValid);
        throw RunEnded{true};
    }
    source.reader.Reset(format::LayoutOf(type->variant), type->kind);
    m_figures.variant = type->variant;
    if (run.settings.complete) {
        source.complete = std::make_unique<complete::CScannedSource>(source.file);
        source.complete->type = *type;
    }
}

/// Nothing too when it was stopped.
std::optional<complete::FileType> COutLook::Recognise(RunContext& run)
{
    CSourceStore& source = run.source;
    const auto proceed = [&](std::uint64_t offset) {
        run.ReportPercent(Percentage(offset, source.hundredth), kValidationStep);
        return !run.state.MustStop();
    };
    if (run.settings.complete)
        return complete::RecogniseFile(source.file, run.settings.kind, proceed);
    const FileKind kind = ReadFileKind(source.file);
    if (kind == FileKind::Unknown)
        return std::nullopt;
    const auto variant = ProbeVariant(source.file, proceed);
    return variant ? std::optional(complete::FileType{*variant, kind}) : std::nullopt;
}

/// In place of phases 4 and 5: one pass finds nodes and blocks.
void COutLook::ScanCompletely(RunContext& run)
{
    if (run.state.MustStop() || run.state.failed)
        return;
    run.BeginPhase(4);
    CSourceStore& source = run.source;
    const bool isWhole = complete::ScanSource(*source.complete, [&](std::uint64_t offset) {
        run.ReportPercent(Percentage(offset, source.hundredth), kNodeScanStep);
        return !run.state.MustStop();
    });
    if (!isWhole)
        return;
    m_figures.nodes = source.complete->nodes.Versions().size();
    m_figures.blocks = source.complete->blocks.Records().size();
    m_recovery.WriteLog(kScanEntry);
    run.BeginPhase(5);
    m_recovery.WriteLog(kBlockEntry);
    if (m_figures.blocks == 0) {
        run.ShowError(kNotValid);
        run.state.failed = true;
    }
}

void COutLook::CollectNodes(RunContext& run)
{
    if (run.state.MustStop() || run.state.failed)
        return;
    run.BeginPhase(4);
    CSourceStore& source = run.source;
    const bool complete =
        ScanNodePages(source.file, source.reader.Layout(), source.nodes, m_figures.scan.nodePages,
                      [&](std::uint64_t offset) {
                          run.ReportPercent(Percentage(offset, source.hundredth), kNodeScanStep);
                          return !run.state.MustStop();
                      });
    source.nodes.Finish();
    source.nodeCount = static_cast<std::uint32_t>(source.nodes.Size());
    m_figures.nodes = source.nodes.Size();
    if (!complete)
        return;
    if (run.settings.smartScan)
        source.references.Build(source.nodes);
    m_recovery.WriteLog(kScanEntry);
    ++source.nodeCount;
}

void COutLook::CollectBlocks(RunContext& run)
{
    if (run.state.MustStop() || run.state.failed)
        return;
    run.BeginPhase(5);
    CSourceStore& source = run.source;
    try {
        if (run.state.outputFolder.empty())
            source.blocks.CreateInMemory();
        else
            source.blocks.Create(m_fileSystem, run.state.outputFolder / kBlockIndexName);
        if (!BuildBlockTable(run))
            return;
    } catch (const std::system_error&) {
        run.ShowError(kNoTemporaryFile);
        run.state.failed = true;
        return;
    }
    source.references.Clear();
    m_recovery.WriteLog(kBlockEntry);
    source.hundredth = source.nodeCount / 100;
}

/// False when it was stopped.
bool COutLook::BuildBlockTable(RunContext& run)
{
    CSourceStore& source = run.source;
    const BlockScanOptions options{run.settings.smartScan, source.reader.Kind()};
    std::vector<TrailerBlock> trailers;
    const bool complete =
        ScanBlockPages(source.file, source.reader.Layout(), options, source.blocks, trailers, m_figures.scan,
                       [&](std::uint64_t offset) {
                           run.ReportPercent(Percentage(offset, source.hundredth), kBlockScanStep);
                           return !run.state.MustStop();
                       });
    m_figures.blocks = source.blocks.Count();
    if (!complete)
        return false;
    const auto proceed = [&] { return !run.state.MustStop(); };
    constexpr std::uint64_t kFewestBlocks = 2;
    if (source.blocks.Count() < kFewestBlocks) {
        run.ShowError(kNotValid);
        run.state.failed = true;
        return true;
    }
    std::vector<std::uint32_t> found;
    if (run.settings.smartScan)
        found = source.blocks.AppendedBids();
    else
        std::vector<TrailerBlock>().swap(trailers);
    source.blocks.Finish(proceed);
    if (run.settings.smartScan)
        FindOrphans(source, std::move(trailers), found, proceed);
    return true;
}

void COutLook::CleanUp(RunContext& run)
{
    run.BeginClosing();
    run.source.blocks.Remove();
    run.source.file.Close();
    m_figures.cryptMethod = run.source.complete ? run.source.complete->method : run.source.reader.Method();
    m_figures.orphans = run.source.orphans.size();
    run.source.nodes.Clear();
    m_recovery.CloseOutput(run);
    run.source.complete.reset();
    run.source.namedProperties.Clear();
    run.StopClock();
}

void COutLook::ShowEnd(RunContext& run)
{
    m_frontEnd.Send(platform::RunEndedMessage{});
    m_frontEnd.Send(platform::ClearListMessage{});
    if (run.state.failed)
        return;
    if (run.state.stopRequested) {
        m_frontEnd.Send(BoxMessage{std::u16string(kAborted) + platform::PathText(run.state.outputPath),
                                   u"Information", BoxMessage::Icon::Information});
    } else {
        m_frontEnd.Send(platform::CompletionMessage{});
    }
}

}  // namespace pastille::store
