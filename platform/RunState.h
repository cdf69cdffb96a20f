#pragma once

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

namespace pastille::platform {

/// A place that the run passes between records and chunks, and where it waits while a question is on screen.
class CGate {
public:
    void Close()
    {
        std::scoped_lock lock(m_mutex);
        m_closed = true;
    }
    void Open()
    {
        {
            std::scoped_lock lock(m_mutex);
            m_closed = false;
        }
        m_opened.notify_all();
    }
    /// Returns at once while the gate is open, else when it opens.
    void Pass()
    {
        if (!m_closed.load(std::memory_order_relaxed))
            return;
        std::unique_lock lock(m_mutex);
        m_opened.wait(lock, [this] { return !m_closed.load(std::memory_order_relaxed); });
    }

private:
    std::atomic<bool> m_closed{false};
    std::mutex m_mutex;
    std::condition_variable m_opened;
};

/// What a source file is for a mail client.
enum class SourceKind { Pst, Ost };

/// What the user chose for one run.
struct RunSettings {
    std::filesystem::path sourcePath;
    std::filesystem::path destinationFolder;
    bool smartScan = false;
    /// Complete recovery: every item with every property, once, in its newest version.
    bool complete = false;
    /// Of a source whose header does not tell it; looked at by a complete recovery only.
    std::optional<SourceKind> kind = std::nullopt;
    std::string codePage = "windows-1252";  ///< of 8-bit texts, a name for CCodePage
};

/// What a run and its front end share. Texts are written by the run and read by the front end after it has
/// ended; the flags are set and tested by either at any time.
struct RunState {
    std::filesystem::path outputFolder;
    std::filesystem::path outputPath;  ///< the new PST, or where it was to be
    bool hasOutput = false;            ///< this run has made the new PST and left it there
    std::filesystem::path logPath;
    std::u16string storeName;
    std::u16string profileName;  ///< empty until the run has chosen one
    std::atomic<bool> stopRequested{false};
    std::atomic<bool> failed{false};
    CGate gate;

    /// True when the run must end. Waits at the gate first.
    bool MustStop()
    {
        gate.Pass();
        return stopRequested.load(std::memory_order_relaxed);
    }
};

}  // namespace pastille::platform
