#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/RunState.h"
#include "recovery/RecoveryPipeline.h"
#include "recovery/RunSummary.h"
#include "store/OutLook.h"
#include "tests/support/FakeComponent.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/RecordingFrontEnd.h"
#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// 22 November 2026, 21:05:09, in a time zone without offset.
recovery::Clock FixedClock();

/// The host's file system, but for the source at kSourcePath: that is a store in memory.
class CSourceInMemory final : public CFileSystemAbove {
public:
    static constexpr std::string_view kSourcePath = "/mail/outlook.pst";

    /// `store` must outlive this object.
    explicit CSourceInMemory(std::span<const std::byte> store) : m_store(store) {}
    std::unique_ptr<platform::IByteSource> OpenSource(const std::filesystem::path& path) override
    {
        if (path == kSourcePath)
            return std::make_unique<CMemorySource>(m_store);
        return m_below.OpenSource(path);
    }

private:
    std::span<const std::byte> m_store;
};

/// A store with one folder, "Inbox", that holds these.
StoreDescription InInbox(std::vector<StoreMessage> messages, StoreFormat format = {});
/// A mail with nothing but its class and these.
StoreMessage BareMail(std::vector<StoreProperty> properties);
/// An ordinary item of that class, in the folder that lists it or below another.
StoreMessage ItemOf(std::u16string messageClass, std::optional<std::uint32_t> parent = {});
/// An attachment by value.
StoreAttachment File(std::u16string name, std::string_view bytes);

/// One repair of a built store into the fake component.
class CRecoveryScenario {
public:
    explicit CRecoveryScenario(const StoreDescription& description = {});

    void Run();

    /// The log without its byte-order mark.
    std::u16string Log() const;
    std::size_t CountInLog(std::u16string_view text) const;
    const CBuiltStore& Source() const { return m_store; }
    /// The only item saved in a folder; a fresh empty one when there is not exactly one.
    const FakeItem& OnlyItem(std::u16string_view folderPath);

    CTemporaryFolder folder;
    CFakeComponent component;
    CRecordingFrontEnd frontEnd;
    platform::RunSettings settings;
    platform::RunState state;
    recovery::RecoveryOptions options;
    FileFaults faults;
    std::unique_ptr<recovery::CRecoveryPipeline> pipeline;
    store::RunFigures figures;

private:
    CBuiltStore m_store;
};

/// One that has been run.
class CRecoveredStore : public CRecoveryScenario {
public:
    explicit CRecoveredStore(const StoreDescription& description = {}) : CRecoveryScenario(description)
    {
        Run();
    }
};

}  // namespace pastille::tests
