#include "tests/recovery/RecoverySupport.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>

namespace pastille::tests {

std::vector<std::u16string> CRecorder::BoxTexts() const
{
    std::vector<std::u16string> texts;
    for (const auto& box : All<platform::BoxMessage>())
        texts.push_back(box.text);
    return texts;
}

std::vector<std::string> CRecorder::Cells() const
{
    std::vector<std::string> cells;
    for (const auto& cell : All<platform::ListCellMessage>())
        cells.push_back(std::to_string(cell.cell) + ":" + platform::ToUtf8(cell.text));
    return cells;
}

std::vector<unsigned> CRecorder::Percentages(unsigned phase) const
{
    std::vector<unsigned> percentages;
    unsigned current = 0;
    for (const auto& message : messages) {
        if (const auto* begun = std::get_if<platform::PhaseMessage>(&message))
            current = begun->closing ? 0 : begun->phase;
        const auto* percent = std::get_if<platform::PercentMessage>(&message);
        if (percent != nullptr && current == phase)
            percentages.push_back(percent->percent);
    }
    return percentages;
}

recovery::Clock FixedClock()
{
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    return [] { return std::chrono::system_clock::from_time_t(1'795'381'509); };
}

namespace {

/// Hands everything on, but changes the source before the items are recovered.
class CMeddlingRecovery final : public store::IRecovery {
public:
    CMeddlingRecovery(store::IRecovery& next, const std::function<void(store::CSourceStore&)>& meddle)
        : m_next(next), m_meddle(meddle)
    {
    }
    void SetUpOutput(store::RunContext& run) override { m_next.SetUpOutput(run); }
    void WriteLog(std::u16string_view entry) override { m_next.WriteLog(entry); }
    void CollectFolders(store::RunContext& run) override { m_next.CollectFolders(run); }
    void RecoverItems(store::RunContext& run) override
    {
        if (m_meddle)
            m_meddle(run.source);
        m_next.RecoverItems(run);
    }
    void CloseOutput(store::RunContext& run) override { m_next.CloseOutput(run); }

private:
    store::IRecovery& m_next;
    const std::function<void(store::CSourceStore&)>& m_meddle;
};

}  // namespace

StoreFormat FormatOf(format::Variant variant, bool ost)
{
    StoreFormat format;
    format.variant = variant;
    format.ost = ost;
    if (variant == format::Variant::Unicode4k)
        format.crypt = format::CryptMethod::None;
    return format;
}

StoreDescription InInbox(std::vector<StoreMessage> messages, StoreFormat format)
{
    StoreDescription description;
    description.format = format;
    description.folders = {{.name = u"Inbox", .messages = std::move(messages)}};
    // So near the start of a file a subnode entry can pass for a block trailer of a low block id.
    description.atStart = [](CStoreFile& file) { file.SkipTo(0x20000); };
    return description;
}

StoreMessage BareMail(std::vector<StoreProperty> properties)
{
    StoreMessage mail;
    mail.bare = true;
    mail.properties = std::move(properties);
    mail.properties.push_back(Text(format::pid::kMessageClass, u"IPM.Note"));
    return mail;
}

StoreAttachment File(std::u16string name, std::string_view bytes)
{
    return {.fileName = std::move(name), .data = Binary(0, bytes).value};
}

CRecoveryScenario::CRecoveryScenario(const StoreDescription& description) : m_store(description)
{
    settings.sourcePath = CSourceInMemory::kSourcePath;
    settings.destinationFolder = folder.Path();
    options.clock = FixedClock();
}

void CRecoveryScenario::Run()
{
    CSourceInMemory memory(m_store.Content());
    CFaultyFileSystem fileSystem(faults, memory);
    pipeline = std::make_unique<recovery::CRecoveryPipeline>(component, options);
    CMeddlingRecovery recovery(*pipeline, beforeItems);
    store::COutLook engine(fileSystem, frontEnd, recovery);
    engine.Run(settings, state);
    figures = engine.Figures();
}

std::u16string CRecoveryScenario::Log() const
{
    std::ifstream file(state.logPath, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::u16string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2)
        text += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                      (static_cast<unsigned char>(bytes[i + 1]) << 8));
    return text;
}

std::size_t CRecoveryScenario::CountInLog(std::u16string_view text) const
{
    const std::u16string log = Log();
    std::size_t count = 0;
    for (auto at = log.find(text); at != std::u16string::npos; at = log.find(text, at + 1))
        ++count;
    return count;
}

const FakeItem& CRecoveryScenario::OnlyItem(std::u16string_view folderPath)
{
    static const FakeItem kNone;
    const FakeFolder* found = component.Folder(folderPath);
    const auto saved = found == nullptr ? std::vector<const FakeItem*>() : found->Saved();
    return saved.size() == 1 ? *saved.front() : kNone;
}

}  // namespace pastille::tests
