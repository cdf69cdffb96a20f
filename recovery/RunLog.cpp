#include "recovery/RunLog.h"

#include <algorithm>
#include <span>
#include <system_error>
#include <utility>

#include "platform/Host.h"
#include "platform/Text.h"

namespace pastille::recovery {

void CRunLog::Create(platform::IFileSystem& fileSystem, const std::filesystem::path& path)
{
    constexpr std::u16string_view kByteOrderMark = u"\uFEFF";
    Close();
    try {
        m_file = fileSystem.Create(path);
    } catch (const std::system_error&) {
        return;
    }
    m_end = 0;
    Write(kByteOrderMark);
}

void CRunLog::OpenToAppend(platform::IFileSystem& fileSystem, const std::filesystem::path& path)
{
    Close();
    try {
        m_file = fileSystem.OpenExisting(path);
    } catch (const std::system_error&) {
        return;
    }
    m_end = m_file->Size();
}

CRunLog& CRunLog::operator=(CRunLog&& other)
{
    if (this != &other) {
        Close();
        m_file = std::move(other.m_file);
        m_end = other.m_end;
        m_waiting = std::exchange(other.m_waiting, {});
        m_lastFlush = other.m_lastFlush;
    }
    return *this;
}

void CRunLog::Close()
{
    Flush();
    m_file.reset();
}

void CRunLog::Write(std::u16string_view entry)
{
    constexpr std::size_t kMostWaiting = 64 * 1024;
    constexpr auto kLongestWait = std::chrono::seconds(1);
    if (!IsOpen())
        return;
    for (const char16_t unit : entry) {
        m_waiting += static_cast<char>(unit & 0xFF);
        m_waiting += static_cast<char>(unit >> 8);
    }
    if (m_waiting.size() >= kMostWaiting || std::chrono::steady_clock::now() - m_lastFlush >= kLongestWait)
        Flush();
}

void CRunLog::Flush()
{
    if (!IsOpen() || m_waiting.empty())
        return;
    m_lastFlush = std::chrono::steady_clock::now();
    try {
        m_file->WriteAt(m_end, std::as_bytes(std::span(m_waiting)));
        m_end += m_waiting.size();
    } catch (const std::system_error&) {
        // The next entries take the place of those that could not be written.
    }
    m_waiting.clear();
}

std::u16string LogName(std::u16string_view name)
{
    std::u16string text = platform::FromUtf8(platform::ToUtf8(name));  // half characters become U+FFFD
    const auto isControl = [](char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); };
    std::ranges::replace_if(text, isControl, u' ');
    return text;
}

std::u16string LogTime(const Clock& clock)
{
    return platform::FromUtf8(platform::LocalTimeText(clock()));
}

}  // namespace pastille::recovery
