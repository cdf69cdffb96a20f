#include "recovery/AttachmentProperties.h"

#include "format/PropertyIds.h"
#include "format/PropertyTag.h"
#include "recovery/AttachmentName.h"

namespace pastille::recovery {
namespace {

constexpr std::u16string_view kUntitled = u"Untitled Attachment";

// PidTagAttachMethod. [MS-OXCMSG] 2.2.2.9
constexpr std::uint32_t kByValue = 1;
constexpr std::uint32_t kEmbeddedMessage = 5;

void TakeDisplayName(AttachmentProperties& properties, std::u16string_view text)
{
    properties.hasDisplayNameOnly = true;
    properties.displayName = WithoutSeparators(text);
    if (IsFileName(properties.displayName))
        properties.name = properties.displayName;
    if (properties.name == kUntitled)
        properties.name.clear();
}

}  // namespace

bool AttachmentProperties::IsEmbedded() const
{
    return SaysEmbedded() || (hasDisplayNameOnly && !IsByValue());
}

bool AttachmentProperties::SaysEmbedded() const
{
    return method == kEmbeddedMessage;
}

bool AttachmentProperties::IsByValue() const
{
    return method == kByValue;
}

std::u16string AttachmentProperties::FileName() const
{
    if (!fileName.empty())
        return fileName;
    if (!name.empty() || !IsByValue())
        return name;
    if (!spareName.empty())
        return spareName;
    return displayName.empty() ? std::u16string(kUntitled) : displayName;
}

AttachmentProperties ReadAttachmentProperties(CSourceItem& attachment)
{
    namespace pid = format::pid;
    AttachmentProperties properties;
    // A long file name belongs to a display name, a short one to none.
    std::uint16_t fileNameId = pid::kAttachFilename;
    for (const store::PropertyRecord& record : attachment.Records()) {
        if (record.id == pid::kDisplayName) {
            TakeDisplayName(properties, attachment.StringValue(record.type, record.value));
            fileNameId = pid::kAttachLongFilename;
        } else if (record.id == fileNameId) {
            properties.hasDisplayNameOnly = false;
            properties.fileName = attachment.StringValue(record.type, record.value);
        } else if (record.id == pid::kAttachFilename || record.id == pid::kAttachLongFilename) {
            properties.spareName = attachment.StringValue(record.type, record.value);
        } else if (record.id == pid::kAttachDataBinary) {
            properties.data = record;
        } else if (record.id == pid::kAttachMethod &&
                   record.type == static_cast<std::uint16_t>(format::PropertyType::Integer32)) {
            properties.method = record.value;
        }
    }
    return properties;
}

}  // namespace pastille::recovery
