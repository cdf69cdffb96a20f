#include "component/ProfileFiles.h"

#include <cstdint>
#include <cstdio>
#include <span>
#include <system_error>
#include <type_traits>
#include <utility>

namespace pastille::component {
namespace {

/// A profile lists a handful of stores; what is larger is no profile.
constexpr std::uint64_t kLargestProfile = 4u << 20;
/// Longest encoded name that becomes a file name as it is; hosts allow 255 bytes.
constexpr std::size_t kLongestFileName = 160;

bool IsPlain(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u'_';
}

std::string Encode(std::u16string_view text)
{
    std::string encoded;
    for (const char16_t unit : text) {
        if (IsPlain(unit)) {
            encoded.push_back(static_cast<char>(unit));
            continue;
        }
        char digits[8];
        std::snprintf(digits, sizeof digits, "%%%04x", static_cast<unsigned>(unit));
        encoded += digits;
    }
    return encoded;
}

int DigitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

std::optional<std::u16string> Decode(std::string_view encoded)
{
    std::u16string text;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (encoded[i] != '%') {
            text.push_back(static_cast<unsigned char>(encoded[i]));
            continue;
        }
        if (encoded.size() - i < 5)
            return std::nullopt;
        unsigned unit = 0;
        for (std::size_t k = 1; k <= 4; ++k) {
            const int digit = DigitValue(encoded[i + k]);
            if (digit < 0)
                return std::nullopt;
            unit = unit * 16 + static_cast<unsigned>(digit);
        }
        text.push_back(static_cast<char16_t>(unit));
        i += 4;
    }
    return text;
}

// A path is kept by the host's own characters, so that one that is no valid text survives.
using PathChar = std::filesystem::path::value_type;

std::u16string UnitsOf(const std::filesystem::path& path)
{
    std::u16string units;
    for (const PathChar c : path.native())
        units.push_back(static_cast<char16_t>(static_cast<std::make_unsigned_t<PathChar>>(c)));
    return units;
}

std::filesystem::path PathFrom(std::u16string_view units)
{
    std::filesystem::path::string_type native;
    for (const char16_t unit : units)
        native.push_back(static_cast<PathChar>(unit));
    return native;
}

/// A 64-bit FNV-1a hash; tells apart names too long for a file name. The name inside the file settles the
/// rest.
std::uint64_t HashOf(std::string_view text)
{
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    return hash;
}

std::string FormatProfile(const Profile& profile)
{
    std::string text = "profile " + Encode(profile.name) + "\n";
    for (const ProfileStore& store : profile.stores)
        text += "store " + Encode(UnitsOf(store.path)) + " " + Encode(store.displayName) + "\n";
    return text;
}

bool ParseLine(std::string_view line, Profile& profile, bool& named)
{
    const auto space = line.find(' ');
    const std::string_view key = line.substr(0, space);
    const std::string_view rest =
        space == std::string_view::npos ? std::string_view() : line.substr(space + 1);
    if (key == "profile") {
        const auto name = Decode(rest);
        named = name.has_value();
        profile.name = name.value_or(std::u16string());
        return named;
    }
    const auto split = rest.find(' ');
    if (key != "store" || split == std::string_view::npos)
        return false;
    const auto path = Decode(rest.substr(0, split));
    const auto displayName = Decode(rest.substr(split + 1));
    if (!path || !displayName)
        return false;
    profile.stores.push_back({PathFrom(*path), *displayName});
    return true;
}

std::optional<Profile> ParseProfile(std::string_view text)
{
    Profile profile;
    bool named = false;
    while (!text.empty()) {
        const auto end = text.find('\n');
        if (end == std::string_view::npos || !ParseLine(text.substr(0, end), profile, named))
            return std::nullopt;
        text.remove_prefix(end + 1);
    }
    return named ? std::optional(std::move(profile)) : std::nullopt;
}

void ThrowOn(std::error_code error)
{
    if (error)
        throw std::system_error(error);
}

}  // namespace

CProfileFiles::CProfileFiles(platform::IFileSystem& files, std::filesystem::path folder)
    : m_files(files), m_folder(std::move(folder))
{
}

std::filesystem::path CProfileFiles::PathOf(std::u16string_view name) const
{
    std::string encoded = Encode(name);
    if (encoded.size() > kLongestFileName) {
        char hash[24];
        std::snprintf(hash, sizeof hash, "~%016llx", static_cast<unsigned long long>(HashOf(encoded)));
        encoded = encoded.substr(0, kLongestFileName) + hash;
    }
    return m_folder / ("profile-" + encoded);
}

std::optional<Profile> CProfileFiles::ReadFile(const std::filesystem::path& path) const
{
    const auto source = m_files.OpenSource(path);
    if (!source || source->Size() > kLargestProfile)
        return std::nullopt;
    std::string text(static_cast<std::size_t>(source->Size()), '\0');
    if (source->ReadAt(0, std::as_writable_bytes(std::span(text))) != text.size())
        return std::nullopt;
    return ParseProfile(text);
}

std::optional<Profile> CProfileFiles::Read(std::u16string_view name) const
{
    const auto path = PathOf(name);
    auto profile = ReadFile(path);
    if (!profile) {
        // A crash between removing the old file and renaming the new one leaves only the new one.
        auto next = path;
        profile = ReadFile(next += ".new");
    }
    return profile && profile->name == name ? std::move(profile) : std::nullopt;
}

void CProfileFiles::MakeFolder()
{
    std::vector<std::filesystem::path> missing;
    for (auto folder = m_folder; !folder.empty(); folder = folder.parent_path()) {
        const auto error = m_files.CreateFolder(folder);
        if (!error || error == std::errc::file_exists)
            break;
        if (error != std::errc::no_such_file_or_directory || folder == folder.parent_path())
            ThrowOn(error);
        missing.push_back(folder);
    }
    for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder)
        if (const auto error = m_files.CreateFolder(*folder); error != std::errc::file_exists)
            ThrowOn(error);
}

void CProfileFiles::Write(const Profile& profile)
{
    MakeFolder();
    const auto path = PathOf(profile.name);
    auto next = path;
    next += ".new";
    const std::string text = FormatProfile(profile);
    {
        const auto file = m_files.Create(next);
        file->WriteAt(0, std::as_bytes(std::span(text)));
        file->Sync();
    }
    if (const auto error = m_files.Remove(path); error != std::errc::no_such_file_or_directory)
        ThrowOn(error);
    ThrowOn(m_files.Rename(next, path));
}

}  // namespace pastille::component
