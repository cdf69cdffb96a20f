#include "tests/scenario/SampleContents.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <ostream>

#include "tests/support/FaultyFileSystem.h"

namespace pastille::tests {
namespace {

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// "Message" for a folder that stands for one item, as "Message00012"; "" for others.
std::string KindOf(const std::string& folderName)
{
    constexpr std::size_t kDigits = 5;
    const std::size_t last = folderName.find_last_not_of("0123456789");
    const bool isItem = last != std::string::npos && last + kDigits + 1 == folderName.size();
    return isItem ? folderName.substr(0, last + 1) : "";
}

/// The text from its first ASCII character on: of a subject that begins with others the program takes the
/// first two bytes for a mark and drops them.
std::string FromAscii(const std::string& text)
{
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    return {std::find_if(text.begin(), text.end(), isAscii), text.end()};
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

/// The bytes of one line of a hexadecimal dump: an offset, twice eight bytes, and the bytes as characters.
void AppendDump(const std::string& line, std::string& bytes)
{
    constexpr std::size_t kStart = sizeof("0x00000000: ") - 1;
    for (std::size_t i = 0; i < 16; ++i) {
        const std::size_t at = kStart + 3 * i + i / 8;
        if (at + 1 >= line.size() || line[at] == ' ')
            return;
        bytes.push_back(static_cast<char>(std::stoi(line.substr(at, 2), nullptr, 16)));
    }
}

std::map<std::uint32_t, std::string> ReadValues(const std::filesystem::path& path)
{
    std::map<std::uint32_t, std::string> values;
    std::uint32_t id = 0;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("Entry type:") || line.starts_with("Maps to entry type:"))
            id = static_cast<std::uint32_t>(std::stoul(line.substr(line.rfind('\t') + 1), nullptr, 16));
        else if (line.starts_with("0x"))
            AppendDump(line, values[id]);
    }
    return values;
}

SampleItem ReadItem(const std::filesystem::path& folder, const std::string& path, const std::string& kind)
{
    SampleItem item{.folder = path, .kind = kind, .values = ReadValues(folder / "ItemValues.txt")};
    item.lines = ReadForm(folder / (kind == "Message" ? "OutlookHeaders.txt" : kind + ".txt"));
    for (const char* const extension : {".txt", ".html", ".rtf"}) {
        const std::filesystem::path body = folder / (std::string("Message") + extension);
        if (std::filesystem::exists(body))
            item.bodies[extension] = ReadFile(body);
    }
    if (!std::filesystem::exists(folder / "Attachments"))
        return item;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "Attachments")) {
        const std::string name = entry.path().filename();
        if (entry.is_directory()) {
            for (const auto& inner : std::filesystem::directory_iterator(entry.path()))
                item.embedded.push_back(ReadItem(inner.path(), "", KindOf(inner.path().filename())));
        } else if (name != "ItemValues.txt") {
            // The program puts a number before each name.
            item.attachments.emplace_back(name.substr(name.find('_') + 1), ReadFile(entry.path()));
        }
    }
    return item;
}

void ReadFolder(const std::filesystem::path& folder, const std::string& path, std::vector<SampleItem>& items)
{
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (!entry.is_directory())
            continue;
        const std::string name = entry.path().filename();
        if (const std::string kind = KindOf(name); !kind.empty())
            items.push_back(ReadItem(entry.path(), path, kind));
        else
            ReadFolder(entry.path(), path + "/" + name, items);
    }
}

}  // namespace

std::string SampleItem::Line(const std::string& label) const
{
    const auto found = lines.find(label);
    return found == lines.end() ? "" : found->second;
}

void PrintTo(const SampleItem& item, std::ostream* out)
{
    *out << item.kind << " in " << item.folder << " '" << item.Line("Subject") << "' of "
         << item.Line("Client submit time") << ", bodies:";
    for (const auto& [extension, bytes] : item.bodies)
        *out << " " << extension << " " << bytes.size();
    *out << ", attachments:";
    for (const auto& [name, bytes] : item.attachments)
        *out << " " << name << " " << bytes.size();
    for (const SampleItem& inner : item.embedded) {
        *out << " [";
        PrintTo(inner, out);
        *out << "]";
    }
}

std::optional<std::vector<SampleItem>> ReadWithPffexport(const std::filesystem::path& store, bool values,
                                                         const std::string& codePage)
{
    const CTemporaryFolder out;
    const std::string command = std::string("pffexport -q -m items -f all ") + (values ? "-d " : "") + "-c " +
                                codePage + " -t '" + (out / "found").string() + "' '" + store.string() +
                                "' >'" + (out / "output").string() + "' 2>&1";
    if (std::system(command.c_str()) != 0)
        return std::nullopt;
    std::vector<SampleItem> items;
    for (const auto& top : std::filesystem::directory_iterator(out / "found.export")) {
        if (top.is_directory())
            ReadFolder(top.path(), "", items);
    }
    return items;
}

}  // namespace pastille::tests
