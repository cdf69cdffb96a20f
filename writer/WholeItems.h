#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "format/NameId.h"
#include "format/PropertyTag.h"
#include "writer/Component.h"

namespace pastille::writer {

// The component's interfaces for bringing objects over as they are, property by property, whatever their
// class. Operations fail as those of Component.h do.

/// The names of a store's properties; an interface of the object behind IMessageStore.
class IPropertyNames : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x2B6E90D1, 0x7A34, 0x4C58, {0x8F, 0x02, 0x61, 0xD9, 0x3E, 0xA7, 0x5C, 0x14}};
    /// The id under which this store keeps a named property, a new one when it has none yet. Raises
    /// E_INVALIDARG when no id is left.
    virtual std::uint16_t GetPropertyId(const format::PropertyName& name) = 0;
};

/// Anything that has properties. Values come in stored form: integers little-endian in their own size (a
/// Boolean is one byte), times as FILETIME, strings as UTF-16LE without terminator, binaries as they are,
/// multi-values as the format lays them out [MS-PST] 2.3.3.3, 2.3.3.4. 8-bit strings are kept as such: who
/// wants them readable everywhere decodes them first.
class IPropertyTarget : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x71C4A3F8, 0x0E92, 0x4B67, {0xA5, 0x3D, 0x48, 0x1F, 0xC6, 0x0B, 0x92, 0xE7}};
    /// Sets a property, whatever type it had before. False, and nothing is changed, when it is one that the
    /// store itself keeps for such an object (row ids, counts, sizes, its own entry id), or of type Object.
    /// Raises E_INVALIDARG when the bytes are no value of the type (its size, half a character, a list that
    /// leads out of itself), the type is unknown, the id is one of a name that the store does not have, or
    /// there are more than 2^31 - 1 bytes; and on an object that was saved. A Boolean that is neither 0 nor 1
    /// becomes 1.
    virtual bool SetProperty(format::PropertyTag tag, std::span<const std::byte> value) = 0;
    /// The same for a value of any length, read to its end before the call returns.
    virtual bool SetProperty(format::PropertyTag tag, platform::IByteStream& value) = 0;
};

class IWholeMessage;

/// A new attachment of a message.
class IWholeAttachment : public IPropertyTarget {
public:
    static constexpr format::Guid kInterfaceId{
        0x5E1D82B6, 0xC940, 0x4F1A, {0x93, 0x7C, 0x2A, 0xE5, 0x60, 0xB8, 0x0D, 0xF4}};
    /// PidTagAttachDataObject as bytes of a storage; it takes the place of other contents.
    /// [MS-OXCMSG] 2.2.2.8
    virtual void SetObject(platform::IByteStream& content) = 0;
    /// The message attached, which takes the place of other contents. Saving it puts it into this attachment.
    /// Raises E_INVALIDARG when there are 1,000 messages around it.
    virtual CRef<IWholeMessage> AddMessage() = 0;
    /// Adds the attachment to its message as it is now. Once, after the message in it. PidTagAttachMethod is
    /// made to fit the contents when it does not; without a rendering position it has none (-1).
    virtual void Save() = 0;
};

/// A new message with nothing but what it is given.
class IWholeMessage : public IPropertyTarget {
public:
    static constexpr format::Guid kInterfaceId{
        0xB3F05C27, 0x16A8, 0x4D93, {0xB0, 0xE4, 0x7D, 0x92, 0x0F, 0x3B, 0x68, 0x5A}};
    /// A new row of the recipient table. It has one column for each property id, of one type: SetProperty
    /// is false for another type than the column's (of the template's ids the template's type), and raises
    /// E_INVALIDARG when the row has no room for a further column (there are 255). A recipient without a type
    /// becomes a primary one.
    virtual CRef<IPropertyTarget> AddRecipient() = 0;
    virtual CRef<IWholeAttachment> AddAttachment() = 0;
    /// Commits the message to its folder or attachment. Once, after its attachments. A message that is never
    /// saved leaves nothing in the store. A message without class or times gets some, and of its flags those
    /// that tell of attachments and of associated messages are made true.
    virtual void Save() = 0;
};

/// A folder; an interface of the object behind IStoreFolder. Its name, its counts and the entry ids of
/// default folders belong to the store; its container class may be set.
class IWholeFolder : public IPropertyTarget {
public:
    static constexpr format::Guid kInterfaceId{
        0xE8294D6F, 0x53B1, 0x47CE, {0x86, 0x1A, 0xD4, 0x09, 0x7B, 0x5E, 0xF2, 0x30}};
    /// A new message in this folder; an associated one in its associated contents.
    virtual CRef<IWholeMessage> AddMessage(bool isAssociated) = 0;
};

}  // namespace pastille::writer
