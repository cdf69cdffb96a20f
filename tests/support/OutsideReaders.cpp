#include "tests/support/OutsideReaders.h"

#include <spawn.h>
#include <sys/wait.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <stdexcept>
#include <vector>

#include "platform/Text.h"
#include "tests/support/FaultyFileSystem.h"

extern char** environ;

namespace pastille::tests {
namespace {

enum class Outcome { Done, Failed, Absent };

/// Runs a program without its output.
Outcome RunProgram(std::vector<std::string> arguments)
{
    std::vector<char*> values;
    for (std::string& argument : arguments)
        values.push_back(argument.data());
    values.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, values.front(), &actions, nullptr, values.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT)
        return Outcome::Absent;
    int status = 0;
    const bool isDone =
        error == 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return isDone ? Outcome::Done : Outcome::Failed;
}

/// False when the program is not installed, or fails on a store that it may fail on.
bool ReadBy(std::vector<std::string> command, OfStore store)
{
    const std::string name = command.front();
    const std::string path = command.back();
    const Outcome outcome = RunProgram(std::move(command));
    if (outcome == Outcome::Failed && store == OfStore::Sound)
        throw std::runtime_error(name + " cannot read " + path);
    return outcome == Outcome::Done;
}

/// "Message" for a folder that stands for one item, as "Message00012"; "" for others.
std::string KindOf(const std::string& folderName)
{
    constexpr std::size_t kDigits = 5;
    const std::size_t last = folderName.find_last_not_of("0123456789");
    const bool isItem = last != std::string::npos && last + kDigits + 1 == folderName.size();
    return isItem ? folderName.substr(0, last + 1) : "";
}

// ---- what pffexport writes of an item

/// One entry of an "ItemValues.txt".
struct DumpedEntry {
    std::uint32_t set = 0;
    std::uint16_t id = 0;
    std::optional<StoreName> name{};
    FoundValue value{};
};

std::uint32_t HexNumber(const std::string& text)
{
    return static_cast<std::uint32_t>(std::stoul(text, nullptr, 16));
}

/// Appends the bytes of a line as "0x00000010: 20 00 6f 00  6f 00 66 00   .o.o.f. ...".
void AppendDumpLine(const std::string& line, Bytes& bytes)
{
    constexpr std::size_t kFirst = 12;
    for (std::size_t i = 0; i < 16; ++i) {
        const std::size_t at = kFirst + 3 * i + i / 8;
        if (at + 2 > line.size() || line[at] == ' ')
            return;
        bytes.push_back(static_cast<std::byte>(HexNumber(line.substr(at, 2))));
    }
}

std::vector<DumpedEntry> ReadDump(const std::filesystem::path& path)
{
    std::vector<DumpedEntry> entries;
    std::ifstream file(path);
    std::uint32_t set = 0;
    for (std::string line; std::getline(file, line);) {
        const std::size_t tabs = line.find(":\t");
        if (line.starts_with("0x") && !entries.empty()) {
            AppendDumpLine(line, entries.back().value.bytes);
            continue;
        }
        if (tabs == std::string::npos)
            continue;
        const std::string key = line.substr(0, tabs);
        const std::string value = line.substr(line.find_last_of('\t') + 1);
        if (key == "Set")
            set = static_cast<std::uint32_t>(std::stoul(value));
        else if (key == "Entry")
            entries.push_back({.set = set});
        else if (key == "Entry type")
            entries.back().id = static_cast<std::uint16_t>(HexNumber(value));
        else if (key == "Value type")
            entries.back().value.type = static_cast<format::PropertyType>(HexNumber(value));
        else if (key == "Maps to entry type")
            entries.back().name = StoreName{{}, HexNumber(value), {}};
        else if (key == "Maps to entry")
            entries.back().name = StoreName{{}, 0, platform::FromUtf8(value)};
    }
    return entries;
}

/// Lines of a label, tabs and a value, up to the body.
std::map<std::string, std::string> ReadForm(const std::filesystem::path& path)
{
    std::map<std::string, std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line) && line != "Body:";) {
        const std::size_t colon = line.find(":\t");
        if (colon != std::string::npos)
            lines[line.substr(0, colon)] =
                line.substr(std::min(line.find_first_not_of('\t', colon + 1), line.size()));
    }
    lines["Subject"] = FromAscii(lines["Subject"]);
    return lines;
}

FoundItem ReadExportedItem(const std::filesystem::path& folder);

/// Attachments are files "1_name" or folders "Attachment00001", numbered from 1; the dump has a set for each.
void ReadExportedAttachments(const std::filesystem::path& folder, FoundItem& item)
{
    for (const DumpedEntry& entry : ReadDump(folder / "ItemValues.txt")) {
        if (entry.set >= item.attachments.size())
            item.attachments.resize(entry.set + 1);
        item.attachments[entry.set].values[entry.id] = entry.value;
    }
    constexpr std::string_view kFolder = "Attachment";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        const std::size_t digits = entry.is_directory() && name.starts_with(kFolder) ? kFolder.size() : 0;
        const auto number = static_cast<std::size_t>(std::strtoul(name.c_str() + digits, nullptr, 10));
        if (number == 0)
            continue;
        if (number > item.attachments.size())
            item.attachments.resize(number);
        FoundAttachment& attachment = item.attachments[number - 1];
        if (!entry.is_directory()) {
            attachment.fileName = name.substr(name.find('_') + 1);
            attachment.data = FileBytes(entry.path());
            continue;
        }
        for (const auto& inner : std::filesystem::directory_iterator(entry.path()))
            attachment.embedded.push_back(ReadExportedItem(inner.path()));
    }
}

FoundItem ReadExportedItem(const std::filesystem::path& folder)
{
    FoundItem item{.kind = KindOf(folder.filename())};
    item.lines = ReadForm(folder / (item.kind == "Message" ? "OutlookHeaders.txt" : item.kind + ".txt"));
    for (const char* const extension : {".txt", ".html", ".rtf"}) {
        const std::filesystem::path body = folder / (std::string("Message") + extension);
        if (std::filesystem::exists(body))
            item.bodies[extension] = FileBytes(body);
    }
    for (const DumpedEntry& entry : ReadDump(folder / "ItemValues.txt")) {
        if (entry.name)
            item.named[*entry.name] = entry.value;
        else
            item.values[entry.id] = entry.value;
    }
    if (std::filesystem::exists(folder / "Attachments"))
        ReadExportedAttachments(folder / "Attachments", item);
    return item;
}

void ReadExportedFolder(const std::filesystem::path& folder, const std::string& path,
                        std::vector<FoundItem>& items)
{
    std::vector<std::filesystem::path> entries;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_directory())
            entries.push_back(entry.path());
    }
    std::ranges::sort(entries);
    for (const std::filesystem::path& entry : entries) {
        const std::string name = entry.filename();
        if (KindOf(name).empty()) {
            ReadExportedFolder(entry, path + "/" + name, items);
            continue;
        }
        items.push_back(ReadExportedItem(entry));
        items.back().folder = path;
    }
}

}  // namespace

std::string FromAscii(const std::string& text)
{
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    return {std::ranges::find_if(text, isAscii), text.end()};
}

std::optional<OutsideCount> CountWithReadpst(const std::filesystem::path& store, OfStore kind)
{
    const CTemporaryFolder out;
    // -j0: no parallel jobs, which fail at times; -t e: mails alone, -D: deleted ones too; the exit status
    // tells whether there was one folder at least.
    if (!ReadBy({"readpst", "-q", "-j0", "-D", "-te", "-o", out.Path(), store}, kind))
        return std::nullopt;
    OutsideCount count;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(out.Path())) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            // Lines of a body that begin so are quoted by the writer of the mbox file.
            if (line.starts_with("From \"") || line.starts_with("From ")) {
                ++count.messages;
                ++count.perFolder[entry.path().stem()];
            }
        }
    }
    return count;
}

std::optional<std::vector<FoundItem>> ReadItemsWithPffexport(const std::filesystem::path& store,
                                                             const PffexportOptions& options)
{
    const CTemporaryFolder out;
    std::vector<std::string> command = {"pffexport", "-q",  "-m", "items",
                                        "-f",        "all", "-c", options.codePage};
    if (options.values)
        command.emplace_back("-d");
    command.insert(command.end(), {"-t", out / "found", store});
    if (!ReadBy(std::move(command), options.store))
        return std::nullopt;
    std::vector<FoundItem> items;
    for (const auto& top : std::filesystem::directory_iterator(out / "found.export")) {
        if (top.is_directory())
            ReadExportedFolder(top.path(), "", items);
    }
    return items;
}

}  // namespace pastille::tests
