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
    const auto found = values.find(id);
    const bool isText = found != values.end() && found->second.type == format::PropertyType::String;
    return isText ? TextOf(found->second.bytes) : std::u16string();
}

std::uint64_t NumberValue(const FoundValues& values, std::uint16_t id)
{
    const auto found = values.find(id);
    Bytes bytes = found == values.end() ? Bytes() : found->second.bytes;
    bytes.resize(8);
    return format::LoadLE<std::uint64_t>(bytes, 0);
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
