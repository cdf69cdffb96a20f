#include "tests/support/StoreDescription.h"

#include <chrono>

#include "format/PropertyContext.h"
#include "platform/Text.h"

namespace pastille::tests {

using format::PropertyType;

Bytes FixedBytes(std::uint32_t seed, std::size_t count)
{
    Bytes bytes(count);
    for (std::byte& byte : bytes) {
        seed = seed * 1664525u + 1013904223u;
        byte = static_cast<std::byte>(seed >> 24);
    }
    return bytes;
}

StoreProperty Text(std::uint16_t id, std::u16string_view text)
{
    Bytes value(text.size() * 2);
    for (std::size_t i = 0; i < text.size(); ++i)
        format::StoreLE(std::span(value), 2 * i, static_cast<std::uint16_t>(text[i]));
    return {.id = id, .type = PropertyType::String, .value = std::move(value)};
}

std::u16string TextOf(std::span<const std::byte> bytes)
{
    std::u16string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        text.push_back(static_cast<char16_t>(format::LoadLE<std::uint16_t>(bytes, i)));
    return text;
}

StoreProperty Number(std::uint16_t id, std::uint32_t value)
{
    return {.id = id, .type = PropertyType::Integer32, .value = LittleEndian(value)};
}

StoreProperty Number16(std::uint16_t id, std::uint16_t value)
{
    return {.id = id, .type = PropertyType::Integer16, .value = LittleEndian(value)};
}

StoreProperty Flag(std::uint16_t id, bool value)
{
    return {.id = id, .type = PropertyType::Boolean, .value = Bytes(1, static_cast<std::byte>(value))};
}

StoreProperty Time(std::uint16_t id, std::uint64_t fileTime)
{
    return {.id = id, .type = PropertyType::Time, .value = LittleEndian(fileTime)};
}

StoreProperty Binary(std::uint16_t id, Bytes value)
{
    return {.id = id, .type = PropertyType::Binary, .value = std::move(value)};
}

StoreProperty Binary(std::uint16_t id, std::string_view text)
{
    const auto bytes = std::as_bytes(std::span(text));
    return Binary(id, Bytes(bytes.begin(), bytes.end()));
}

StoreProperty Texts(std::uint16_t id, const std::vector<std::u16string>& texts)
{
    std::vector<Bytes> values;
    for (const std::u16string& text : texts)
        values.push_back(Text(0, text).value);
    return {.id = id, .type = PropertyType::MultipleString, .value = format::JoinMultiple(values)};
}

StoreProperty Behind(std::uint16_t id, PropertyType type, std::uint32_t hnid)
{
    return {.id = id, .type = type, .hnid = hnid};
}

StoreProperty InSubnode(StoreProperty property, std::size_t leafBytes)
{
    property.inSubnode = true;
    property.leafBytes = leafBytes;
    return property;
}

std::uint64_t FileTime(int year, unsigned month, unsigned day, unsigned hour, unsigned minute)
{
    using namespace std::chrono;
    const sys_days epoch = std::chrono::year{1601} / January / 1;
    const sys_days date = std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day};
    const auto minutes = static_cast<std::uint64_t>((date - epoch).count()) * 1440 + hour * 60 + minute;
    return minutes * 60 * 10'000'000;
}

StoreAttachment Embed(std::shared_ptr<StoreMessage> message, std::u16string_view displayName)
{
    namespace pid = format::pid;
    StoreAttachment attachment{.method = 5, .embedded = std::move(message)};
    attachment.properties = {Text(pid::kDisplayName, displayName)};
    attachment.omitted = {pid::kAttachFilename, pid::kAttachLongFilename};
    return attachment;
}

StoreAttachment Embed(StoreMessage message, std::u16string_view displayName)
{
    return Embed(std::make_shared<StoreMessage>(std::move(message)), displayName);
}

StoreDescription InFolders(std::vector<StoreFolder> folders)
{
    StoreDescription description;
    description.folders = std::move(folders);
    return description;
}

StoreMessage Mail(std::u16string_view subject, std::u16string_view sender, std::u16string_view body,
                  std::uint64_t sent)
{
    namespace pid = format::pid;
    std::u16string address(sender);
    for (char16_t& unit : address)
        unit = unit == u' ' ? u'.' : unit;
    address += u"@example.org";
    StoreMessage mail;
    mail.label = platform::ToUtf8(subject);
    mail.properties = {Number(pid::kImportance, 1),
                       Number(pid::kSensitivity, 0),
                       Text(pid::kSubject, subject),
                       Time(pid::kClientSubmitTime, sent),
                       Text(pid::kSentRepresentingName, sender),
                       Text(pid::kSentRepresentingAddressType, u"SMTP"),
                       Text(pid::kSentRepresentingEmailAddress, address),
                       Text(pid::kConversationTopic, subject),
                       Text(pid::kSenderName, sender),
                       Text(pid::kSenderAddressType, u"SMTP"),
                       Text(pid::kSenderEmailAddress, address),
                       Text(pid::kDisplayTo, u"Archive"),
                       Time(pid::kMessageDeliveryTime, sent + 600'000'000),
                       Text(pid::kBody, body)};
    mail.recipients = {{u"Archive", u"archive@example.org"}};
    return mail;
}

}  // namespace pastille::tests
