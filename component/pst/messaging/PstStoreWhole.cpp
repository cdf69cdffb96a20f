#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include "component/pst/ltp/ValueRules.h"
#include "component/pst/messaging/CheckpointingStream.h"
#include "component/pst/messaging/MessagingIds.h"
#include "component/pst/messaging/PstStore.h"
#include "component/pst/messaging/StoreError.h"
#include "component/pst/messaging/StoreOwned.h"
#include "format/NameId.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

// Objects brought over as they are.

namespace pastille::component::pst {
namespace {

using format::PropertyType;

constexpr std::size_t kReadBytes = 1u << 15;
constexpr std::uint64_t kLongestContainerClass = 1u << 16;
constexpr std::u16string_view kUsualMessageClass = u"IPM.Note";

/// The present moment as a FILETIME.
std::uint64_t Now()
{
    using namespace std::chrono;
    constexpr std::uint64_t kUnixEpoch = 116'444'736'000'000'000u;  ///< 1970-01-01 as a FILETIME
    const auto since = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    return kUnixEpoch + static_cast<std::uint64_t>(since) * 10;
}

/// A message without one of its times has the nearest that it has.
void CompleteTime(CPropertyBag& bag, std::uint16_t id, std::uint16_t other)
{
    if (bag.Has(id))
        return;
    for (const std::uint16_t nearest :
         {other, format::pid::kMessageDeliveryTime, format::pid::kClientSubmitTime}) {
        const auto* const value = bag.Find(nearest);
        if (value != nullptr && value->tag.type == PropertyType::Time) {
            bag.Set({{id, PropertyType::Time}, value->bytes, std::nullopt});
            return;
        }
    }
    bag.Set(TimeValue(id, Now()));
}

/// What every message has to have. [MS-PST] 2.4.5.1.1
void CompleteMessage(CPropertyBag& bag, bool isAssociated)
{
    if (!bag.Has(format::pid::kMessageClass))
        bag.Set(StringValue(format::pid::kMessageClass, kUsualMessageClass));
    CompleteTime(bag, format::pid::kCreationTime, format::pid::kLastModificationTime);
    CompleteTime(bag, format::pid::kLastModificationTime, format::pid::kCreationTime);
    const auto* const stored = bag.Find(format::pid::kMessageFlags);
    const std::uint32_t flags = stored ? AsInteger32(*stored).value_or(0) : 0;
    bag.Set(Integer32Value(format::pid::kMessageFlags, isAssociated
                                                           ? flags | format::messageflag::kAssociated
                                                           : flags & ~format::messageflag::kAssociated));
}

}  // namespace

bool CPstStore::TakesProperty(ObjectKind kind, format::PropertyTag tag)
{
    Writer();
    if (!format::IsKnownType(tag.type) || tag.id == 0)
        throw CStoreError(Refusal::BadArgument);
    constexpr std::uint16_t kFirst = format::namemap::kFirstPropertyId;
    if (tag.id >= kFirst && tag.id - std::size_t{kFirst} >= m_names.Count())
        throw CStoreError(Refusal::BadArgument);
    return tag.type != PropertyType::Object && !IsStoreOwned(kind, tag.id);
}

PropertyValue CPstStore::MakeValue(format::PropertyTag tag, std::span<const std::byte> bytes)
{
    CLongValueWriter writer(Writer());
    writer.Append(bytes);
    return Verified(writer.Finish(tag));
}

PropertyValue CPstStore::MakeValue(format::PropertyTag tag, platform::IByteStream& stream)
{
    CCheckpointingStream content(*this, stream);
    CLongValueWriter writer(Writer());
    std::array<std::byte, kReadBytes> chunk;
    while (const std::size_t got = content.Read(chunk))
        writer.Append(std::span(chunk).first(got));
    return Verified(writer.Finish(tag));
}

PropertyValue CPstStore::Verified(PropertyValue value)
{
    if (!IsSoundValue(*m_writer, value))
        throw CStoreError(Refusal::BadArgument);
    if (value.tag.type == PropertyType::Boolean && value.bytes[0] != std::byte{0})
        value.bytes[0] = std::byte{1};
    return value;
}

bool CPstStore::SetFolderProperty(Folder& folder, PropertyValue value)
{
    Writer();
    if (value.tag.id == format::pid::kContainerClass) {
        if (value.tag.type != PropertyType::String)
            return false;
        if (value.Size() > kLongestContainerClass)
            throw CStoreError(Refusal::TooLarge);
        if (value.tree)
            value = {value.tag, ReadTree(*value.tree), std::nullopt};
        SetContainerClass(folder, *AsString(value));
        return true;
    }
    folder.properties.Set(std::move(value));
    folder.propertiesChanged = true;
    m_changed = true;
    return true;
}

format::Nid CPstStore::AddWholeMessage(Folder& folder, bool isAssociated, MessageDraft& draft)
{
    CompleteMessage(draft.properties, isAssociated);
    return isAssociated ? SaveAssociated(folder, draft) : SaveMessage(folder, std::nullopt, draft);
}

format::Nid CPstStore::SaveAssociated(Folder& folder, MessageDraft& draft)
{
    CNdbWriter& writer = Writer();
    const auto written = WriteMessage(writer, draft);
    const format::Nid nid = writer.AllocateNid(format::NidType::AssociatedMessage);
    FolderTable(folder, format::NidType::AssociatedContentsTable).AddRow(nid.value, draft.properties);
    writer.PutNode(nid, written.content.data, written.content.sub, folder.nid);
    ++folder.associatedCount;
    const auto flags = AsInteger32(*draft.properties.Find(format::pid::kMessageFlags)).value_or(0);
    folder.associatedUnread += (flags & format::messageflag::kRead) == 0 ? 1 : 0;
    folder.associatedChanged = true;
    FolderChanged(folder);
    CheckpointIfDue();
    return nid;
}

AttachmentDraft::Object CPstStore::AddWholeEmbedded(MessageDraft& draft)
{
    CNdbWriter& writer = Writer();
    unsigned nesting = 1;
    for (const Attachment& attachment : draft.attachments)
        nesting = std::max(nesting, attachment.nesting + 1);
    if (nesting > kDeepestWholeNesting)
        throw CStoreError(Refusal::BadArgument);
    CompleteMessage(draft.properties, false);
    const auto written = WriteMessage(writer, draft);
    return {writer.AllocateNid(format::NidType::NormalMessage), written.content.data, written.content.sub,
            written.size, nesting};
}

AttachmentDraft::Object CPstStore::AddObject(platform::IByteStream& stream)
{
    CCheckpointingStream content(*this, stream);
    return WriteObject(Writer(), content);
}

Attachment CPstStore::AddWholeAttachment(AttachmentDraft& draft, std::uint32_t number)
{
    return WriteWholeAttachment(Writer(), draft, number);
}

}  // namespace pastille::component::pst
