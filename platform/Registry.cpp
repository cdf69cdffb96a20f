#include "platform/Registry.h"

#include "platform/Text.h"

#include <charconv>
#include <cstdio>
#include <system_error>
#include <utility>

namespace pastille::platform {
namespace {

constexpr char kMailClient[] =
    "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";
constexpr std::string_view kNumberPrefix = "dword:";

}  // namespace

CRegistry::CRegistry(std::filesystem::path file)
    : m_path(std::move(file)), m_file(std::make_unique<CIniFile>(m_path))
{
    std::error_code error;
    // An empty file is what a full disk or a power cut leaves of one.
    const bool isEmpty =
        std::filesystem::is_regular_file(m_path, error) && std::filesystem::file_size(m_path, error) == 0;
    if (!isEmpty && std::filesystem::exists(std::filesystem::symlink_status(m_path, error)))
        return;
    m_file->Set(kMailClient, "Default", "built-in");
    std::filesystem::create_directories(m_path.parent_path(), error);
    static_cast<void>(m_file->Write());
}

CRegistry::~CRegistry() = default;

bool CRegistry::HasKey(const std::string& key) const
{
    return m_file->HasSection(key);
}

bool CRegistry::HasWritableKey(const std::string& key) const
{
    return HasKey(key) && CanBeWritten(m_path);
}

std::optional<std::string> CRegistry::Text(const std::string& key, const std::string& name) const
{
    return m_file->Text(key, name);
}

std::optional<std::uint32_t> CRegistry::Number(const std::string& key, const std::string& name) const
{
    const auto text = Text(key, name);
    if (!text || text->size() <= kNumberPrefix.size() || text->size() > kNumberPrefix.size() + 8 ||
        !EqualsNoCase(FromUtf8(text->substr(0, kNumberPrefix.size())), FromUtf8(kNumberPrefix)))
        return std::nullopt;
    std::uint32_t number = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data() + kNumberPrefix.size(), end, number, 16);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

bool CRegistry::SetText(const std::string& key, const std::string& name, const std::string& value)
{
    // Whoever edits the file while the program runs keeps what he has written.
    if (auto now = std::make_unique<CIniFile>(m_path); now->WasRead())
        m_file = std::move(now);
    m_unwritten.push_back({key, name, value});
    for (const Value& unwritten : m_unwritten)
        m_file->Set(unwritten.key, unwritten.name, unwritten.text);
    if (!m_file->Write())
        return false;
    m_unwritten.clear();
    return true;
}

bool CRegistry::SetNumber(const std::string& key, const std::string& name, std::uint32_t value)
{
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", value);
    return SetText(key, name, std::string(kNumberPrefix) + digits);
}

}  // namespace pastille::platform
