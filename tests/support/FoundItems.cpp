#include "tests/support/FoundItems.h"

#include <algorithm>
#include <ostream>

#include "format/Bytes.h"

namespace pastille::tests {

std::string FoundItem::Line(const std::string& label) const
{
    const auto found = lines.find(label);
    return found == lines.end() ? "" : found->second;
}

std::vector<const FoundAttachment*> FoundItem::Files() const
{
    std::vector<const FoundAttachment*> files;
    for (const FoundAttachment& attachment : attachments) {
        if (!attachment.fileName.empty())
            files.push_back(&attachment);
    }
    return files;
}

std::vector<const FoundItem*> FoundItem::Embedded() const
{
    std::vector<const FoundItem*> items;
    for (const FoundAttachment& attachment : attachments) {
        for (const FoundItem& item : attachment.embedded)
            items.push_back(&item);
    }
    return items;
}

void PrintTo(const FoundItem& item, std::ostream* out)
{
    *out << item.kind << " in " << item.folder << " '" << item.Line("Subject") << "' of "
         << item.Line("Client submit time") << ", bodies:";
    for (const auto& [extension, bytes] : item.bodies)
        *out << " " << extension << " " << bytes.size();
    *out << ", attachments:";
    for (const FoundAttachment* const file : item.Files())
        *out << " " << file->fileName << " " << file->data.size();
    for (const FoundItem* const inner : item.Embedded()) {
        *out << " [";
        PrintTo(*inner, out);
        *out << "]";
    }
}

const FoundValue* FindValue(const FoundItem& item, std::uint16_t id)
{
    const auto found = item.values.find(id);
    return found == item.values.end() ? nullptr : &found->second;
}

const FoundValue* FindValue(const FoundItem& item, const StoreName& name)
{
    auto found = item.named.find(name);
    if (found == item.named.end())
        found = item.named.find({{}, name.lid, name.name});
    return found == item.named.end() ? nullptr : &found->second;
}

std::u16string TextValue(const FoundValues& values, std::uint16_t id)
{
    std::u16string text;
    const auto found = values.find(id);
    if (found == values.end() || found->second.type != format::PropertyType::String)
        return text;
    const Bytes& bytes = found->second.bytes;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        text.push_back(static_cast<char16_t>(format::LoadLE<std::uint16_t>(bytes, i)));
    return text;
}

std::uint64_t NumberValue(const FoundValues& values, std::uint16_t id)
{
    std::uint64_t number = 0;
    const auto found = values.find(id);
    for (std::size_t i = 0; found != values.end() && i < std::min<std::size_t>(8, found->second.bytes.size());
         ++i)
        number |= std::uint64_t{std::to_integer<std::uint8_t>(found->second.bytes[i])} << (8 * i);
    return number;
}

std::vector<const FoundItem*> OfClass(const std::vector<FoundItem>& items, std::u16string_view messageClass)
{
    std::vector<const FoundItem*> found;
    for (const FoundItem& item : items) {
        if (messageClass.empty() || TextValue(item.values, format::pid::kMessageClass) == messageClass)
            found.push_back(&item);
    }
    std::ranges::stable_sort(
        found, {}, [](const FoundItem* item) { return TextValue(item->values, format::pid::kSubject); });
    return found;
}

const FoundItem* OfSubject(const std::vector<FoundItem>& items, std::u16string_view subject)
{
    const FoundItem* only = nullptr;
    for (const FoundItem& item : items) {
        if (TextValue(item.values, format::pid::kSubject) != subject)
            continue;
        if (only != nullptr)
            return nullptr;
        only = &item;
    }
    return only;
}

}  // namespace pastille::tests
