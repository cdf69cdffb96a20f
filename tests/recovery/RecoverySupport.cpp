#include "tests/recovery/RecoverySupport.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>

namespace pastille::tests {

recovery::Clock FixedClock()
{
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    return [] { return std::chrono::system_clock::from_time_t(1'795'381'509); };
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

StoreMessage ItemOf(std::u16string messageClass, std::optional<std::uint32_t> parent)
{
    StoreMessage item = Mail(u"subject", u"sender", u"body", 0);
    item.messageClass = std::move(messageClass);
    item.parent = parent;
    return item;
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
    store::COutLook engine(fileSystem, frontEnd, *pipeline);
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
