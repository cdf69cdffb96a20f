#include "platform/IniFile.h"

#include "platform/FileSystem.h"
#include "platform/Text.h"

// The text is UTF-8 already when it gets there.
#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <span>
#include <system_error>
#include <utility>
#include <vector>

namespace pastille::platform {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16Mark = "\xFF\xFE";
constexpr std::string_view kBlanks = " \t\r\n";

std::optional<std::string> ReadFile(const std::filesystem::path& path)
{
    const auto source = HostFileSystem().OpenSource(path);
    if (source == nullptr || source->Size() > CIniFile::kLargestFile)
        return std::nullopt;
    std::string bytes(static_cast<std::size_t>(source->Size()), '\0');
    bytes.resize(source->ReadAt(0, std::as_writable_bytes(std::span(bytes))));
    return bytes;
}

std::u16string FromUtf16Le(std::string_view bytes)
{
    std::u16string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes[i]);
        const auto high = static_cast<unsigned char>(bytes[i + 1]);
        text += static_cast<char16_t>(low | (high << 8));
    }
    return text;
}

/// The text as UTF-8, without zero characters, at which parsing would end.
std::string Decode(std::string bytes)
{
    std::string text;
    if (bytes.starts_with(kUtf16Mark))
        text = ToUtf8(FromUtf16Le(std::string_view(bytes).substr(kUtf16Mark.size())));
    else if (bytes.starts_with(kUtf8Mark))
        text = ToUtf8(FromUtf8(std::string_view(bytes).substr(kUtf8Mark.size())));
    else if (ToUtf8(FromUtf8(bytes)) == bytes)
        text = std::move(bytes);
    else
        text = ToUtf8(CCodePage("windows-1252").ToUtf16(std::as_bytes(std::span(bytes))));
    std::erase(text, '\0');
    return text;
}

/// The comment lines after the last entry, which the parser would leave out.
std::string EndComments(std::string_view text)
{
    std::size_t start = text.size();
    while (start > 0) {
        const std::size_t lineStart = text.find_last_of("\r\n", start - 1);
        const std::size_t from = lineStart == std::string_view::npos ? 0 : lineStart + 1;
        const std::size_t first = text.find_first_not_of(kBlanks, from);
        if (first < start && text[first] != ';' && text[first] != '#')
            break;
        start = from == 0 ? 0 : lineStart;
    }
    // In a file without entries all of it is the comment that the parser keeps.
    const std::size_t first = start == 0 ? std::string_view::npos : text.find_first_of(";#", start);
    return first == std::string_view::npos ? std::string() : std::string(text.substr(first));
}

bool IsQuoted(std::string_view value)
{
    return value.size() >= 2 && value.front() == value.back() &&
           (value.front() == '"' || value.front() == '\'');
}

bool WriteAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t put = ::write(fd, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

/// The file's own mode when there is one, else what others may read.
mode_t ModeFor(const std::filesystem::path& file)
{
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0644;
}

bool ReplaceFile(const std::filesystem::path& file, std::string_view bytes)
{
    std::error_code error;
    auto target = file;
    if (std::filesystem::is_symlink(file, error))
        target = std::filesystem::weakly_canonical(file, error);
    if (target.empty() || !CanBeWritten(target))
        return false;
    std::string name = target.string() + ".XXXXXX";
    const int fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool written = ::fchmod(fd, ModeFor(target)) == 0 && WriteAll(fd, bytes) && ::fsync(fd) == 0;
    const bool closed = ::close(fd) == 0;
    if (written && closed && ::rename(name.c_str(), target.c_str()) == 0)
        return true;
    ::unlink(name.c_str());
    return false;
}

}  // namespace

struct CIniFile::Entries : CSimpleIniTempl<char, SI_GenericNoCase<char>, SI_ConvertA<char>> {
    Entries() : CSimpleIniTempl(true, true) { SetSpaces(false); }
};

bool CanBeWritten(const std::filesystem::path& file)
{
    const auto folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return false;
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0)
        return errno == ENOENT;
    constexpr mode_t kAnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    return S_ISREG(status.st_mode) && (status.st_mode & kAnyWrite) != 0 && ::access(file.c_str(), W_OK) == 0;
}

CIniFile::CIniFile(std::filesystem::path file)
    : m_file(std::move(file)), m_entries(std::make_unique<Entries>())
{
    auto bytes = ReadFile(m_file);
    if (!bytes)
        return;
    m_wasRead = true;
    const std::string text = Decode(std::move(*bytes));
    m_endComments = EndComments(text);
    if (m_entries->LoadData(text.data(), text.size()) < 0)
        m_entries->Reset();
}

CIniFile::~CIniFile() = default;

bool CIniFile::HasSection(const std::string& section) const
{
    return m_entries->GetSection(section.c_str()) != nullptr;
}

std::optional<std::string> CIniFile::Text(const std::string& section, const std::string& key) const
{
    const char* found = m_entries->GetValue(section.c_str(), key.c_str());
    if (found == nullptr)
        return std::nullopt;
    std::string_view value = found;
    if (IsQuoted(value))
        value = value.substr(1, value.size() - 2);
    return std::string(value);
}

std::u16string CIniFile::Text(const std::string& section, const std::string& key, std::size_t length) const
{
    return FromUtf8(Text(section, key).value_or("")).substr(0, length);
}

void CIniFile::Set(const std::string& section, const std::string& key, std::string_view value)
{
    std::string line(value);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; }, ' ');
    const auto isBlank = [](char c) { return kBlanks.find(c) != std::string_view::npos; };
    if (!line.empty() && (IsQuoted(line) || isBlank(line.front()) || isBlank(line.back())))
        line = '"' + line + '"';
    m_entries->SetValue(section.c_str(), key.c_str(), line.c_str(), nullptr, true);
}

bool CIniFile::Write() const
{
    std::string text;
    if (m_entries->Save(text) < 0)
        return false;
    if (!m_endComments.empty())
        text += '\n' + m_endComments;
    return ReplaceFile(m_file, text);
}

}  // namespace pastille::platform
