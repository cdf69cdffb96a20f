#include "component/ItemCore.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "component/ItemCompletion.h"
#include "component/ItemFamily.h"
#include "component/ItemValues.h"
#include "component/pst/messaging/MessagingIds.h"
#include "component/pst/messaging/StoreError.h"
#include "format/PropertyContext.h"
#include "format/PropertyIds.h"
#include "platform/Host.h"
#include "platform/Text.h"
#include "writer/OleDate.h"

namespace pastille::component {
namespace {

using pst::PropertyValue;
using writer::ItemProperty;
using writer::PropertyKind;
using writer::PropertyStorage;
namespace pid = format::pid;

/// The most bytes that a value can have: PidTagMessageSize counts them.
constexpr std::uint64_t kLargestValue = 0x7FFFFFFF;

/// PidLidHasPicture and the usual name of a contact's picture. [MS-OXOCNTC] 2.2.1.8
constexpr std::uint32_t kLidHasPicture = 0x8015;
constexpr std::u16string_view kPictureName = u"ContactPicture.jpg";

/// The present moment as a FILETIME.
std::uint64_t Now()
{
    using namespace std::chrono;
    constexpr std::uint64_t kUnixEpoch = 116'444'736'000'000'000u;  ///< 1970-01-01 as a FILETIME
    const auto since = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    return kUnixEpoch + static_cast<std::uint64_t>(since) * 10;
}

pst::CPropertyBag NewItemProperties(std::u16string_view messageClass)
{
    pst::CPropertyBag bag;
    bag.Set(pst::StringValue(pid::kMessageClass, messageClass));
    bag.Set(pst::Integer32Value(pid::kMessageFlags, FirstFlagsOf(FamilyOf(messageClass))));
    bag.Set(pst::Integer32Value(pid::kMessageStatus, 0));
    const auto now = Now();
    bag.Set(pst::TimeValue(pid::kCreationTime, now));
    bag.Set(pst::TimeValue(pid::kLastModificationTime, now));
    std::array<std::byte, 16> key;
    platform::FillRandom(key);
    bag.Set(pst::BinaryValue(pid::kSearchKey, key));
    return bag;
}

bool IsFlagBit(const ItemProperty& property)
{
    return property.storage == PropertyStorage::FlagBit ||
           property.storage == PropertyStorage::FlagBitInverse;
}

void RequireKind(const ItemProperty& property, PropertyKind kind)
{
    if (property.kind != kind)
        throw pst::CStoreError(pst::Refusal::BadArgument);
}

void RequireScalar(const ItemProperty& property)
{
    if (property.kind != PropertyKind::Flag && property.kind != PropertyKind::Number)
        throw pst::CStoreError(pst::Refusal::BadArgument);
}

}  // namespace

CItemCore::CItemCore(std::shared_ptr<pst::CPstStore> store, pst::Folder& folder,
                     std::u16string_view messageClass)
    : m_store(std::move(store)),
      m_folder(folder),
      m_draft(pst::MessageDraft{NewItemProperties(messageClass), {}})
{
    if (messageClass == u"IPM.DistList" || messageClass == u"IPF.DistList")
        GiveNoMembers();
}

void CItemCore::GiveNoMembers()
{
    constexpr std::uint32_t kMembers = 0x8055;        // PidLidDistributionListMembers
    constexpr std::uint32_t kOneOffMembers = 0x8054;  // PidLidDistributionListOneOffMembers
    for (const std::uint32_t lid : {kMembers, kOneOffMembers}) {
        const std::uint16_t id = m_store->IdOfName({format::propset::kAddress, lid, {}});
        m_draft->properties.Set({{id, format::PropertyType::MultipleBinary}, format::JoinMultiple({}), {}});
    }
}

CItemCore::CItemCore(std::shared_ptr<pst::CPstStore> store, pst::Folder& folder, format::Nid message)
    : m_store(std::move(store)), m_folder(folder), m_message(message)
{
}

CItemCore::CItemCore(const CItemCore& outer, const pst::NodeRecord& embedded)
    : m_store(outer.m_store), m_folder(outer.m_folder), m_embedded(embedded)
{
}

pst::NodeRecord CItemCore::Node()
{
    return m_embedded ? *m_embedded : m_store->MessageNode(*m_message);
}

std::optional<PropertyValue> CItemCore::Value(std::uint16_t id)
{
    if (!m_draft) {
        if (!m_reader)
            m_reader = m_store->OpenProperties(Node());
        return m_reader->Read(id, kLargestValue);
    }
    const auto* value = m_draft->properties.Find(id);
    if (value == nullptr)
        return std::nullopt;
    PropertyValue copy = *value;
    if (copy.tree) {
        copy.bytes = m_store->ReadTree(*copy.tree);
        copy.tree.reset();
    }
    return copy;
}

std::optional<std::uint16_t> CItemCore::FindId(const ItemProperty& property)
{
    switch (property.storage) {
        case PropertyStorage::Named:
            return m_store->Names().Find({property.propertySet, property.number, {}});
        case PropertyStorage::NamedString:
            return m_store->Names().Find({property.propertySet, 0, std::u16string(property.stringName)});
        case PropertyStorage::Tag:
            return static_cast<std::uint16_t>(property.number);
        case PropertyStorage::FlagBit:
        case PropertyStorage::FlagBitInverse:
            break;
    }
    return pid::kMessageFlags;
}

std::uint16_t CItemCore::MakeId(const ItemProperty& property)
{
    switch (property.storage) {
        case PropertyStorage::Named:
            return m_store->IdOfName({property.propertySet, property.number, {}});
        case PropertyStorage::NamedString:
            return m_store->IdOfName({property.propertySet, 0, std::u16string(property.stringName)});
        default:
            return *FindId(property);
    }
}

pst::MessageDraft& CItemCore::Draft()
{
    if (!m_store->IsWritable() || m_embedded)
        throw pst::CStoreError(pst::Refusal::ReadOnly);
    if (!m_draft) {
        m_draft = m_store->ReadMessage(*m_message);
        m_reader.reset();
        m_attachments.reset();
    }
    return *m_draft;
}

void CItemCore::Put(std::uint16_t id, std::optional<PropertyValue> value)
{
    if (value)
        Draft().properties.Set(std::move(*value));
    else
        Draft().properties.Remove(id);
}

std::u16string CItemCore::Class()
{
    const auto value = Value(pid::kMessageClass);
    return value ? TextOf(*value) : std::u16string();
}

std::u16string CItemCore::TextOf(const PropertyValue& value)
{
    const bool isWide = value.tag.type == format::PropertyType::String;
    return m_store->Strings().Read(value, isWide ? 0 : TextCodePage()).value_or(std::u16string());
}

std::uint32_t CItemCore::TextCodePage()
{
    const auto codePage = Value(pid::kMessageCodepage);
    return codePage ? pst::AsInteger32(*codePage).value_or(0) : 0;
}

std::u16string CItemCore::Text(const ItemProperty& property)
{
    RequireKind(property, PropertyKind::Text);
    const auto id = FindId(property);
    const auto value = id ? Value(*id) : std::nullopt;
    return value ? TextOf(property, *value) : std::u16string();
}

std::u16string CItemCore::TextOf(const ItemProperty& property, const PropertyValue& value)
{
    const bool isWide = value.tag.type == format::PropertyType::String;
    return LoadText(m_store->Strings(), property, value,
                    {value.tag.id == pid::kHtml ? HtmlCodePage() : 0, isWide ? 0 : TextCodePage()});
}

writer::TextStart CItemCore::TextStart(const ItemProperty& property, std::uint32_t mostBytes)
{
    RequireKind(property, PropertyKind::Text);
    const auto id = FindId(property);
    if (m_draft || !id)
        return {Text(property), true};
    if (!m_reader)
        m_reader = m_store->OpenProperties(Node());
    const auto type = m_reader->TypeOf(*id);
    const auto size = m_reader->SizeOf(*id);
    const auto tree = type && size.value_or(0) > mostBytes ? m_reader->Open(*id) : nullptr;
    if (!tree)
        return {Text(property), true};
    PropertyValue start{{*id, *type}, std::vector<std::byte>(mostBytes), {}};
    start.bytes.resize(tree->Read(0, start.bytes));
    return {TextOf(property, start), false};
}

std::uint32_t CItemCore::HtmlCodePage()
{
    const auto codePage = Value(pid::kInternetCodepage);
    return codePage ? pst::AsInteger32(*codePage).value_or(0) : 0;
}

void CItemCore::SetText(const ItemProperty& property, std::u16string_view text)
{
    RequireKind(property, PropertyKind::Text);
    Draft();
    const auto id = MakeId(property);
    std::uint32_t codePage = id == pid::kHtml ? HtmlCodePage() : 0;
    if (id == pid::kHtml && !text.empty() && platform::CodePageName(codePage).empty()) {
        codePage = kUtf8CodePage;
        Put(pid::kInternetCodepage, pst::Integer32Value(pid::kInternetCodepage, codePage));
    }
    Put(id, StoreText(*m_store, property, id, text, codePage));
}

double CItemCore::Date(const ItemProperty& property)
{
    RequireKind(property, PropertyKind::Date);
    const auto id = FindId(property);
    const auto value = id ? Value(*id) : std::nullopt;
    return value ? LoadDate(*value) : writer::kNoDate;
}

void CItemCore::SetDate(const ItemProperty& property, double date)
{
    RequireKind(property, PropertyKind::Date);
    Draft();
    const auto id = MakeId(property);
    Put(id, StoreDate(id, date));
}

std::uint32_t CItemCore::Flags()
{
    const auto value = Value(pid::kMessageFlags);
    return value ? pst::AsInteger32(*value).value_or(0) : 0;
}

std::int32_t CItemCore::Number(const ItemProperty& property)
{
    RequireScalar(property);
    if (IsFlagBit(property)) {
        const bool isSet = (Flags() & property.number) != 0;
        return isSet != (property.storage == PropertyStorage::FlagBitInverse) ? 1 : 0;
    }
    const auto id = FindId(property);
    const auto value = id ? Value(*id) : std::nullopt;
    return value ? LoadNumber(*value) : 0;
}

void CItemCore::SetNumber(const ItemProperty& property, std::int32_t number)
{
    RequireScalar(property);
    Draft();
    if (IsFlagBit(property)) {
        const bool set = (number != 0) != (property.storage == PropertyStorage::FlagBitInverse);
        const auto flags = set ? Flags() | property.number : Flags() & ~property.number;
        Put(pid::kMessageFlags, pst::Integer32Value(pid::kMessageFlags, flags));
        return;
    }
    const auto id = MakeId(property);
    Put(id, StoreNumber(property, id, number));
}

void CItemCore::SetLastVerb(std::uint32_t iconIndex, std::uint32_t verb)
{
    Draft().properties.Set(pst::Integer32Value(pid::kIconIndex, iconIndex));
    Draft().properties.Set(pst::Integer32Value(pid::kLastVerbExecuted, verb));
}

void CItemCore::Save()
{
    if (m_livesInAnother)
        return;
    pst::MessageDraft& draft = Draft();
    if (m_message)
        draft.properties.Set(pst::TimeValue(pid::kLastModificationTime, Now()));
    CompleteItem(*m_store, Class(), draft.properties);
    m_message = m_store->SaveMessage(m_folder, m_message, draft);
}

const std::vector<format::Nid>& CItemCore::SavedAttachments()
{
    if (!m_attachments)
        m_attachments = m_store->AttachmentsOf(Node());
    return *m_attachments;
}

std::size_t CItemCore::AttachmentCount()
{
    return m_draft ? m_draft->attachments.size() : SavedAttachments().size();
}

pst::NodeRecord CItemCore::AttachmentNode(std::size_t index)
{
    if (!m_draft)
        return m_store->AttachmentNode(Node(), SavedAttachments()[index]);
    const pst::Attachment& attachment = m_draft->attachments[index];
    return {attachment.nid, attachment.data, attachment.sub, {}};
}

pst::Attachment& CItemCore::AddFile(const pst::AttachmentFile& file)
{
    auto& attachments = Draft().attachments;
    // What came after the item became part of another one would be lost.
    if (m_livesInAnother)
        throw pst::CStoreError(pst::Refusal::BadArgument);
    const auto number = static_cast<std::uint32_t>(attachments.size());
    attachments.push_back(m_store->AddFileAttachment(file, number));
    return attachments.back();
}

void CItemCore::AddFile(platform::IByteStream& content, std::u16string_view fileName,
                        std::u16string_view displayName)
{
    AddFile({content, fileName, displayName});
}

bool CItemCore::HasPicture() const
{
    return std::ranges::any_of(m_draft->attachments, &pst::Attachment::isContactPhoto);
}

void CItemCore::AddPicture(platform::IByteStream& content, std::u16string_view fileName)
{
    Draft();
    const std::u16string_view name = fileName.empty() ? kPictureName : fileName;
    if (AddFile({content, name, name, !HasPicture()}).isContactPhoto) {
        const auto id = m_store->IdOfName({format::propset::kAddress, kLidHasPicture, {}});
        Put(id, pst::BooleanValue(id, true));
    }
}

void CItemCore::AddItem(CItemCore& item, std::u16string_view displayName)
{
    // Block and property ids mean something in their own file only.
    const bool isSame = &item == this || (m_message && item.m_message == m_message);
    if (item.m_store != m_store || isSame || m_livesInAnother)
        throw pst::CStoreError(pst::Refusal::BadArgument);
    auto& attachments = Draft().attachments;
    const auto number = static_cast<std::uint32_t>(attachments.size());
    CompleteItem(*m_store, item.Class(), item.Draft().properties);
    attachments.push_back(m_store->AddEmbeddedMessage(item.Draft(), displayName, number));
    item.m_livesInAnother = !item.m_message;
}

}  // namespace pastille::component
