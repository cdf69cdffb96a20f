#include "recovery/RunLog.h"

#include <algorithm>
#include <span>
#include <system_error>

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

void CRunLog::Write(std::u16string_view entry)
{
    if (!IsOpen())
        return;
    m_bytes.clear();
    for (const char16_t unit : entry) {
        m_bytes += static_cast<char>(unit & 0xFF);
        m_bytes += static_cast<char>(unit >> 8);
    }
    try {
        m_file->WriteAt(m_end, std::as_bytes(std::span(m_bytes)));
        m_end += m_bytes.size();
    } catch (const std::system_error&) {
        // The next entry takes the place of the one that could not be written.
    }
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
