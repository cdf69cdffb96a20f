#include "recovery/OutputSetup.h"

#include <algorithm>
#include <iterator>

#include "platform/FileSystem.h"
#include "platform/Text.h"
#include "recovery/Texts.h"

namespace pastille::recovery {
namespace {

using namespace writer;

struct SpecialFolder {
    std::u16string_view name;
    std::int32_t kind;
};
constexpr SpecialFolder kSpecialFolders[] = {
    {u"Contacts", folderkind::kContacts}, {u"Journal", folderkind::kJournal},
    {u"Tasks", folderkind::kTasks},       {u"Notes", folderkind::kNotes},
    {u"Calendar", folderkind::kCalendar},
};

}  // namespace

std::string StoreNameOf(const std::filesystem::path& sourcePath)
{
    std::string name = platform::PathBytes(sourcePath.filename());
    const auto dot = name.find('.');
    name.resize(dot == std::string::npos ? 0 : dot);
    const auto isForbidden = [](char c) {
        return platform::ForbiddenInNames().find(c) != std::string_view::npos;
    };
    std::ranges::replace_if(
        name, [&](char c) { return c == '\\' || isForbidden(c); }, '_');
    return name.append(kStoreNameSuffix);
}

OutputNames CandidateNames(const std::filesystem::path& destinationFolder, const std::string& storeName,
                           const std::string& suffix)
{
    // One trailing separator says nothing; the root of the host's files is nothing else.
    const bool endsInSeparator = !destinationFolder.empty() && !destinationFolder.has_filename();
    const auto destination = endsInSeparator ? destinationFolder.parent_path() : destinationFolder;
    OutputNames names;
    names.folder = destination / platform::PathOfBytes(storeName + suffix);
    names.pst = names.folder / platform::PathOfBytes(storeName + ".pst");
    names.log = names.folder / kLogFileName;
    names.profile = platform::FromUtf8(std::string(kProfileBaseName) + suffix);
    return names;
}

std::u16string_view DefaultFolderName(std::int32_t kind)
{
    const auto* found = std::ranges::find(kSpecialFolders, kind, &SpecialFolder::kind);
    return found == std::end(kSpecialFolders) ? std::u16string_view() : found->name;
}

void COutputSetup::Run()
{
    if (m_run.state.MustStop())
        return;
    m_run.BeginPhase(3);
    const std::string storeName = StoreNameOf(m_run.settings.sourcePath);
    OutputStore& output = m_recovery.output;
    output.storeName = platform::FromUtf8(storeName);
    output.profiles = m_component.CreateProfiles();
    output.session = m_component.CreateSession();
    if (!output.profiles || !output.session)
        RegisterComponent();
    output.auxiliary = m_component.CreateAuxiliary();

    if (!ChooseCandidate(storeName))
        return;
    m_run.state.outputFolder = m_names.folder;
    m_run.state.outputPath = m_names.pst;
    m_run.state.storeName = output.storeName;
    m_run.state.profileName = m_names.profile;
    output.profiles->AddProfile(m_names.profile, 0, Empty{});
    output.session->Logon(m_names.profile);
    if (!CreateOutputFolder())
        return;
    CreateStore();
    OpenLog();
}

void COutputSetup::RegisterComponent()
{
    using platform::BoxMessage;
    m_run.source.file.Close();
    m_run.frontEnd.Send(platform::CloseProgressMessage{});
    m_run.state.failed = true;
    const bool started = m_host.startProgram && m_host.startProgram(m_host.helperProgram);
    if (started)
        m_run.frontEnd.Send(BoxMessage{std::u16string(text::kRegistering), std::u16string(text::kInformation),
                                       BoxMessage::Icon::Information});
    else
        m_run.frontEnd.Send(BoxMessage{std::u16string(text::kComponentNotRegistered),
                                       std::u16string(text::kError), BoxMessage::Icon::Error});
    throw store::RunEnded{true};
}

bool COutputSetup::ChooseCandidate(const std::string& storeName)
{
    std::string suffix;
    for (std::uint64_t number = 0; !m_run.state.MustStop(); ++number) {
        m_names = CandidateNames(m_run.settings.destinationFolder, storeName, suffix);
        if (IsProfileFree(m_names.profile))
            return true;
        suffix = std::to_string(number);
    }
    return false;
}

bool COutputSetup::IsProfileFree(const std::u16string& name)
{
    try {
        return !m_recovery.output.profiles->FindProfile(name);
    } catch (const _com_error&) {
        return true;  // AddProfile tells when it is not
    }
}

bool COutputSetup::CreateOutputFolder()
{
    if (!m_run.fileSystem.CreateFolder(m_names.folder)) {
        m_recovery.ownsOutputFile = true;
        m_run.state.hasOutput = true;
        return true;
    }
    m_run.source.file.Close();
    m_run.ShowError(text::kFolderNotCreated);
    m_run.state.failed = true;
    return false;
}

void COutputSetup::CreateStore()
{
    OutputStore& output = m_recovery.output;
    const auto stores = output.session->GetStores();
    output.store = stores->AddPstStore(m_names.pst, Missing{}, output.storeName);
    for (const SpecialFolder& special : kSpecialFolders) {
        const auto folders = output.session->GetStores()->GetDefaultStore()->GetRootFolder()->GetFolders();
        const auto folder = folders->AddFolder(special.name, Missing{});
        const auto settings = QueryInterface<IFolderSettings>(folder);
        settings->SetDefaultFolderKind(special.kind);
        settings->SetFolderFlag(1);
    }
}

void COutputSetup::OpenLog()
{
    CRunLog& log = m_recovery.log;
    log.Create(m_run.fileSystem, m_names.log);
    m_run.state.logPath = m_names.log;
    log.Write(std::u16string(u"Validation Successful") +
              (m_run.settings.smartScan ? u" in SmartScan Scan\n\n" : u" in Normal Scan\n\n"));
    if (m_run.settings.complete)
        log.Write(text::kCompleteRecovery);
    log.Write(u"\r\n\nSource File Path:");
    log.Write(platform::PathText(m_run.settings.sourcePath));
    log.Write(u"\r\n\r\nDestination File Path:");
    log.Write(platform::PathText(m_names.pst));
    log.Write(u"\r\n\r\nStart date and time : " + LogTime(m_host.clock));
    log.Flush();
}

}  // namespace pastille::recovery
