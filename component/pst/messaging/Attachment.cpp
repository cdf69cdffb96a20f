#include "component/pst/messaging/Attachment.h"

#include <algorithm>
#include <array>
#include <vector>

#include "component/pst/ltp/PropertyContextWriter.h"
#include "component/pst/ltp/PropertyReader.h"
#include "component/pst/ltp/StringEncoding.h"
#include "component/pst/messaging/LongValues.h"
#include "component/pst/messaging/MessagingIds.h"
#include "component/pst/messaging/StoreError.h"
#include "format/Heap.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"

namespace pastille::component::pst {
namespace {

using format::PropertyType;

/// Subnodes that a node can have, less some for the tables and long values of the message.
constexpr std::uint32_t kMostAttachments = 340 * 510 - 1000;
constexpr std::size_t kCopyBytes = 1u << 18;
/// Embedded messages below one another: few readers follow more.
constexpr unsigned kDeepestNesting = 100;
constexpr std::uint32_t kNotRendered = 0xFFFFFFFF;
/// PtypObject states a size of 32 bits, signed like those of the properties.
constexpr std::uint64_t kLargestObject = 0x7FFFFFFF;
constexpr format::PropertyTag kDataTag{format::pid::kAttachDataBinary, PropertyType::Binary};

/// The part of a file name behind its folders, whatever host it comes from.
std::u16string_view LastPart(std::u16string_view name)
{
    const auto slash = name.find_last_of(u"/\\");
    return slash == std::u16string_view::npos ? name : name.substr(slash + 1);
}

std::u16string_view ExtensionOf(std::u16string_view name)
{
    const std::u16string_view last = LastPart(name);
    const auto dot = last.rfind(u'.');
    return dot == std::u16string_view::npos ? std::u16string_view() : last.substr(dot);
}

void RequireRoom(std::uint32_t number)
{
    if (number >= kMostAttachments)
        throw CStoreError(Refusal::TooLarge);
}

CPropertyBag AttachmentProperties(std::u16string_view displayName, std::uint32_t method, std::uint32_t number)
{
    RequireRoom(number);
    CPropertyBag bag;
    bag.Set(Integer32Value(format::pid::kAttachMethod, method));
    bag.Set(Integer32Value(format::pid::kRenderingPosition, kNotRendered));
    bag.Set(Integer32Value(format::pid::kAttachNumber, number));
    if (!displayName.empty())
        bag.Set(StringValue(format::pid::kDisplayName, displayName));
    return bag;
}

void SetFileNames(CPropertyBag& bag, std::u16string_view fileName)
{
    if (fileName.empty())
        return;
    bag.Set(StringValue(format::pid::kAttachLongFilename, fileName));
    bag.Set(StringValue(format::pid::kAttachFilename, ShortFileName(fileName)));
    if (const auto extension = ExtensionOf(fileName); !extension.empty())
        bag.Set(StringValue(pid::kAttachExtension, extension));
}

CPropertyBag AttachmentRow(const CPropertyBag& bag)
{
    CPropertyBag row;
    for (const std::uint16_t id : {format::pid::kAttachSize, format::pid::kAttachFilename,
                                   format::pid::kAttachMethod, format::pid::kRenderingPosition})
        if (const auto* value = bag.Find(id))
            row.Set(*value);
    return row;
}

/// PidTagAttachSize: the sizes of all values, an object with the size it states.
std::uint64_t SizeOfValues(const CPropertyBag& bag)
{
    std::uint64_t size = 0;
    for (const PropertyValue& value : bag.Values())
        size += value.tag.type == PropertyType::Object
                    ? format::CByteView(value.bytes).ReadOrZero<std::uint32_t>(4)
                    : value.Size();
    return size;
}

/// `below`: data bytes of the subnodes given.
Attachment WriteAttachment(CNdbWriter& writer, CPropertyBag& bag, CSubnodeTreeWriter& subnodes,
                           std::uint64_t below)
{
    bag.Set(Integer32Value(format::pid::kAttachSize, 0));
    bag.Set(Integer32Value(format::pid::kAttachSize, SizeValue(SizeOfValues(bag))));
    StoreLongValues(writer, bag);
    const auto content = WritePropertyContext(writer, bag, subnodes);
    return {writer.AllocateNid(format::NidType::Attachment), content.data, content.sub,
            content.dataSize + SizeOfTrees(bag) + below, AttachmentRow(bag)};
}

/// Bytes by which a picture is told.
constexpr std::size_t kLongestMagic = 8;

/// Fills `into` as far as the stream goes.
std::size_t ReadFully(platform::IByteStream& stream, std::span<std::byte> into)
{
    std::size_t done = 0;
    while (done < into.size()) {
        const std::size_t got = stream.Read(into.subspan(done));
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

PropertyValue CopyStream(CNdbWriter& writer, std::span<const std::byte> start, platform::IByteStream& rest)
{
    CLongValueWriter value(writer);
    value.Append(start);
    std::vector<std::byte> chunk(kCopyBytes);
    while (const std::size_t got = rest.Read(chunk))
        value.Append(std::span(chunk).first(got));
    return value.Finish(kDataTag);
}

bool StartsWith(std::span<const std::byte> bytes, std::string_view magic)
{
    return bytes.size() >= magic.size() &&
           std::ranges::equal(bytes.first(magic.size()), std::as_bytes(std::span(magic)));
}

bool IsPicture(std::span<const std::byte> bytes)
{
    constexpr std::array<std::string_view, 5> kMagics{"\xFF\xD8\xFF", "\x89PNG\r\n\x1A\n", "GIF87a", "GIF89a",
                                                      "BM"};
    return std::ranges::any_of(kMagics, [&](std::string_view magic) { return StartsWith(bytes, magic); });
}

struct SubtreeExtent {
    std::uint64_t size = 0;  ///< data bytes of all subnodes
    unsigned nesting = 0;    ///< messages below one another
};

/// What stands below a node. Ends at twice the deepest nesting, as messages and attachments alternate.
SubtreeExtent ExtentBelow(INodeDatabase& database, format::Bid root)
{
    struct Level {
        format::Bid sub;
        unsigned depth;     ///< nodes above
        unsigned messages;  ///< messages among those
    };
    SubtreeExtent extent;
    std::vector<Level> pending{{root, 0, 0}};
    while (!pending.empty()) {
        const Level level = pending.back();
        pending.pop_back();
        VisitSubnodes(database, level.sub, [&](const NodeRecord& node) {
            extent.size += DataTreeSize(database, node.data);
            const unsigned own = node.nid.Type() == format::NidType::NormalMessage ? 1 : 0;
            extent.nesting = std::max(extent.nesting, level.messages + own);
            if (level.depth < 2 * kDeepestWholeNesting + 2)
                pending.push_back({node.sub, level.depth + 1, level.messages + own});
            return true;
        });
    }
    return extent;
}

bool HasInteger32(const CPropertyBag& bag, std::uint16_t id)
{
    const auto* const value = bag.Find(id);
    return value != nullptr && value->tag.type == PropertyType::Integer32;
}

bool IsBytes(const PropertyValue* value)
{
    return value != nullptr && value->tag.type == PropertyType::Binary;
}

/// PidTagAttachMethod: the one given, unless there is none or nothing stands behind it.
std::uint32_t FittingMethod(const AttachmentDraft& draft)
{
    if (draft.object) {
        const bool isMessage = draft.object->nid.Type() == format::NidType::NormalMessage;
        return isMessage ? attachmethod::kEmbeddedMessage : attachmethod::kOle;
    }
    const auto* const given = draft.properties.Find(format::pid::kAttachMethod);
    const auto method = given == nullptr ? std::nullopt : AsInteger32(*given);
    const bool hasBytes = IsBytes(draft.properties.Find(format::pid::kAttachDataBinary));
    const bool isLost = method == attachmethod::kEmbeddedMessage || method == attachmethod::kOle;
    if (!method || isLost || *method > attachmethod::kLargestKnown)
        return hasBytes ? attachmethod::kByValue : attachmethod::kNone;
    return *method;
}

bool IsShortNameChar(char16_t unit)
{
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'a' && unit <= u'z') || unit == u'-' || unit == u'_';
}

std::u16string ShortPart(std::u16string_view text)
{
    std::u16string part;
    for (const char16_t unit : text)
        if (IsShortNameChar(unit))
            part.push_back(unit);
    return part;
}

}  // namespace

std::u16string ShortFileName(std::u16string_view name)
{
    const std::u16string_view last = LastPart(name);
    const auto dot = std::min(last.rfind(u'.'), last.size());
    const std::u16string base = ShortPart(last.substr(0, dot));
    const std::u16string extension = ShortPart(last.substr(dot)).substr(0, 3);
    const bool isWhole = base.size() == dot && !base.empty() && base.size() <= 8;
    std::u16string shortName = isWhole ? base : (base.empty() ? u"ATTACH" : base.substr(0, 6)) + u"~1";
    return extension.empty() ? shortName : shortName + u"." + extension;
}

Attachment WriteFileAttachment(CNdbWriter& writer, const AttachmentFile& file, std::uint32_t number)
{
    const std::u16string fileName = StorableText(file.fileName);
    const std::u16string displayName = StorableText(file.displayName);
    CPropertyBag bag =
        AttachmentProperties(displayName.empty() ? fileName : displayName, attachmethod::kByValue, number);
    SetFileNames(bag, fileName);

    std::array<std::byte, kLongestMagic> buffer;
    const auto start = std::span(buffer).first(ReadFully(file.content, buffer));
    const bool isPhoto = file.mayBeContactPhoto && IsPicture(start);
    if (isPhoto)
        bag.Set(BooleanValue(pid::kAttachmentContactPhoto, true));
    bag.Set(CopyStream(writer, start, file.content));
    CSubnodeTreeWriter subnodes;
    Attachment attachment = WriteAttachment(writer, bag, subnodes, 0);
    attachment.isContactPhoto = isPhoto;
    return attachment;
}

Attachment WriteEmbeddedMessage(CNdbWriter& writer, MessageDraft& message, std::u16string_view displayName,
                                std::uint32_t number)
{
    unsigned nesting = 1;
    for (const Attachment& attachment : message.attachments)
        nesting = std::max(nesting, attachment.nesting + 1);
    if (nesting > kDeepestNesting)
        throw CStoreError(Refusal::BadArgument);
    const auto written = WriteMessage(writer, message);
    const auto nid = writer.AllocateNid(format::NidType::NormalMessage);
    CSubnodeTreeWriter subnodes;
    subnodes.Add(nid, written.content.data, written.content.sub);
    const std::u16string name = StorableText(displayName);
    CPropertyBag bag = AttachmentProperties(name, attachmethod::kEmbeddedMessage, number);
    if (!name.empty())
        bag.Set(StringValue(format::pid::kAttachFilename, ShortFileName(name)));
    bag.Set(ObjectValue(pid::kAttachDataObject, nid, SizeValue(written.size)));
    Attachment attachment = WriteAttachment(writer, bag, subnodes, written.size);
    attachment.nesting = nesting;
    return attachment;
}

AttachmentDraft::Object WriteObject(CNdbWriter& writer, platform::IByteStream& content)
{
    CDataTreeWriter tree(writer);
    std::vector<std::byte> chunk(kCopyBytes);
    while (const std::size_t got = content.Read(chunk)) {
        if (tree.Size() + got > kLargestObject)
            throw CStoreError(Refusal::TooLarge);
        tree.Append(std::span(chunk).first(got));
    }
    const std::uint64_t size = tree.Size();
    return {writer.AllocateNid(format::NidType::OleStream), tree.Finish(), {}, size, 0};
}

Attachment WriteWholeAttachment(CNdbWriter& writer, AttachmentDraft& draft, std::uint32_t number)
{
    RequireRoom(number);
    CPropertyBag& bag = draft.properties;
    bag.Set(Integer32Value(format::pid::kAttachMethod, FittingMethod(draft)));
    bag.Set(Integer32Value(format::pid::kAttachNumber, number));
    if (!HasInteger32(bag, format::pid::kRenderingPosition))
        bag.Set(Integer32Value(format::pid::kRenderingPosition, kNotRendered));
    CSubnodeTreeWriter subnodes;
    if (const auto& object = draft.object) {
        subnodes.Add(object->nid, object->data, object->sub);
        bag.Set(ObjectValue(pid::kAttachDataObject, object->nid, SizeValue(object->size)));
    } else if (AsInteger32(*bag.Find(format::pid::kAttachMethod)) == attachmethod::kByValue &&
               !IsBytes(bag.Find(format::pid::kAttachDataBinary))) {
        bag.Set(BinaryValue(format::pid::kAttachDataBinary, {}));
    }
    Attachment attachment = WriteAttachment(writer, bag, subnodes, draft.object ? draft.object->size : 0);
    attachment.nesting = draft.object ? draft.object->nesting : 0;
    attachment.isContactPhoto = bag.Has(pid::kAttachmentContactPhoto);
    return attachment;
}

Attachment ReadAttachment(INodeDatabase& database, const NodeRecord& subnode)
{
    const auto properties = CPropertyReader(database, subnode).ReadAll(format::kLargestHeapItem);
    const SubtreeExtent below = ExtentBelow(database, subnode.sub);
    return {subnode.nid,
            subnode.data,
            subnode.sub,
            DataTreeSize(database, subnode.data) + below.size,
            AttachmentRow(properties),
            below.nesting,
            properties.Has(pid::kAttachmentContactPhoto)};
}

}  // namespace pastille::component::pst
