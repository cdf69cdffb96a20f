#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "format/Guid.h"
#include "platform/FileSystem.h"
#include "writer/ItemProperties.h"
#include "writer/Reference.h"
#include "writer/Variant.h"

namespace pastille::writer {

// The message-store component: what writes and reads the new PST. Every operation that fails raises
// _com_error with its result code and the identifier of the interface called. Objects are used on one thread
// at a time. A reference keeps its object, and the store below it, alive.

/// Base of every component object.
class IObject {
public:
    static constexpr format::Guid kInterfaceId{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
    virtual ~IObject() = default;
};

class IStoreItem;
class IMessageItem;
class IMessageStore;
class IStoreFolder;

/// Kinds of default folders.
namespace folderkind {
inline constexpr std::int32_t kDeletedItems = 3;
inline constexpr std::int32_t kCalendar = 9;
inline constexpr std::int32_t kContacts = 10;
inline constexpr std::int32_t kJournal = 11;
inline constexpr std::int32_t kNotes = 12;
inline constexpr std::int32_t kTasks = 13;
inline constexpr std::int32_t kFolderConflicts = 19;
inline constexpr std::int32_t kSyncIssues = 20;
inline constexpr std::int32_t kLocalFailures = 21;
inline constexpr std::int32_t kServerFailures = 22;
}  // namespace folderkind

/// One attachment of an item.
class IAttachment : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x6D2F1B94, 0x3C0E, 0x4E7A, {0x9A, 0x51, 0x0B, 0x7D, 0xE3, 0x58, 0xC4, 0x1F}};
    /// The long file name; else the short one; else the display name.
    virtual std::u16string GetFileName() = 0;
    /// What the HTML body names it by ("cid:"), without angle brackets; "" when it has none.
    /// PidTagAttachContentId, [MS-OXCMSG] 2.2.2.29
    virtual std::u16string GetContentId() = 0;
    /// PidTagAttachMethod. [MS-OXCMSG] 2.2.2.9
    virtual std::int32_t GetMethod() = 0;
    /// Bytes of its content; of an attachment without content of its own the size that it states.
    virtual std::int64_t GetSize() = 0;
    /// The bytes of its content, for one reader; nullptr when it has none of its own, as an embedded message
    /// and a link. Keeps the store open.
    virtual std::unique_ptr<platform::IByteStream> OpenContent() = 0;
    /// The embedded message, which cannot be changed; empty when the attachment is none.
    virtual CRef<IMessageItem> GetItem() = 0;
};

/// The attachments of an item.
class IAttachmentList : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x9ED8DA28, 0x908D, 0x4DA3, {0xB7, 0xAC, 0x8D, 0xF8, 0x58, 0x7A, 0x9D, 0xD0}};
    /// Adds the bytes of a stream, read to its end before the call returns; they never pass through a file of
    /// a name that a mail has chosen. Both names are kept as they are; an empty display name is the file
    /// name. Raises E_INVALIDARG when there are more than 2^31 - 1 bytes.
    virtual void AddAttachment(platform::IByteStream& content, std::u16string_view fileName,
                               std::u16string_view displayName) = 0;
    /// Adds an item of the same store, as it is now, as an embedded message. An item that its folder does not
    /// have yet lives in the other one from then on: saving it puts it into no folder.
    virtual void AddAttachment(const CRef<IStoreItem>& item, std::u16string_view displayName) = 0;
    virtual std::int32_t GetCount() = 0;
    /// The attachment of that number (from 1); empty when there is none.
    virtual CRef<IAttachment> GetAttachment(std::int32_t number) = 0;
};

/// Any item.
class IStoreItem : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0xCF7DE094, 0xFF99, 0x4700, {0xB9, 0xEF, 0x25, 0x8A, 0x1D, 0x23, 0xB7, 0x98}};
    /// Commits the item to its folder. May be called again after changes. An item that is never saved leaves
    /// nothing in the store.
    virtual void Save() = 0;
};

/// The beginning of a text, or all of it.
struct TextStart {
    std::u16string text;
    bool isAll = true;
};

/// The properties of all items; mails have no other interface. A property that the item lacks reads back as
/// "", kNoDate, 0. REQUIRES of each pair: the property is of that kind.
class IMessageItem : public IStoreItem {
public:
    static constexpr format::Guid kInterfaceId{
        0xD85047E0, 0x7767, 0x4D48, {0x86, 0xB6, 0x28, 0xBD, 0xB5, 0x72, 0x8A, 0xBB}};

    virtual std::u16string GetMessageClass() = 0;
    virtual std::u16string GetText(const ItemProperty& property) = 0;
    /// As GetText, but of a value of more than `mostBytes` in the store only that many bytes are read. A
    /// character that is cut there comes out as a broken one.
    virtual TextStart GetTextStart(const ItemProperty& property, std::uint32_t mostBytes) = 0;
    virtual void SetText(const ItemProperty& property, std::u16string_view value) = 0;
    /// OLE automation date; kNoDate when the item has none.
    virtual double GetDate(const ItemProperty& property) = 0;
    virtual void SetDate(const ItemProperty& property, double value) = 0;
    virtual std::int16_t GetFlag(const ItemProperty& property) = 0;
    virtual void SetFlag(const ItemProperty& property, std::int16_t value) = 0;
    virtual std::int32_t GetNumber(const ItemProperty& property) = 0;
    virtual void SetNumber(const ItemProperty& property, std::int32_t value) = 0;

    virtual CRef<IAttachmentList> GetAttachments() = 0;
    /// Gives the item the replied (forwarded) state: its icon index and last verb. No new item stays behind.
    virtual CRef<IObject> Reply() = 0;
    virtual CRef<IObject> Forward() = 0;
};

// The typed interfaces. Which of them a new item has follows from its message class.

class IContactItem : public IMessageItem {
public:
    static constexpr format::Guid kInterfaceId{
        0xDA18E730, 0x205D, 0x4CED, {0x9E, 0x61, 0x4D, 0xBB, 0xC3, 0x5D, 0x2E, 0xE5}};
    /// Adds the bytes of a stream as an attachment, as AddAttachment does. When they are those of a picture
    /// and the contact has no picture yet, they become the contact's picture.
    virtual void AddPicture(platform::IByteStream& content, std::u16string_view fileName) = 0;
};
class ITaskItem : public IMessageItem {
public:
    static constexpr format::Guid kInterfaceId{
        0x19C7D2A9, 0xDCF8, 0x4459, {0xA1, 0x42, 0x11, 0xAC, 0x87, 0x39, 0x79, 0x17}};
};
class IAppointmentItem : public IMessageItem {
public:
    static constexpr format::Guid kInterfaceId{
        0x4959BA11, 0xF9D0, 0x4E57, {0xAA, 0x7E, 0x12, 0x56, 0x36, 0xEE, 0xE4, 0x4A}};
};
class IMeetingItem : public IMessageItem {
public:
    static constexpr format::Guid kInterfaceId{
        0x3FE12D4F, 0xCD08, 0x4DAC, {0x9D, 0xBB, 0xD3, 0x10, 0x7C, 0x63, 0xA1, 0x69}};
};
class IJournalItem : public IMessageItem {
public:
    static constexpr format::Guid kInterfaceId{
        0x82BD1792, 0x2C5A, 0x404F, {0x89, 0x5A, 0x4B, 0x76, 0x5B, 0x3F, 0xE3, 0x44}};
};
class INoteItem : public IMessageItem {
public:
    static constexpr format::Guid kInterfaceId{
        0x5BA25695, 0x866B, 0x4043, {0x83, 0x87, 0x5E, 0x52, 0x30, 0x79, 0xEB, 0x9A}};
};

/// The items of a folder in store order (the order in which they were first saved). Associated items, which
/// hold settings of a folder, are not among them. An item is read when it is asked for, whatever its number;
/// one that cannot be read raises, and those after it can be asked for still.
class IItemList : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0xF8408EB8, 0x6B65, 0x4704, {0x81, 0x0C, 0x29, 0x79, 0x5E, 0x67, 0xC0, 0xDD}};
    /// A new item of that message class (text), in this folder once it is saved.
    virtual CRef<IObject> AddItem(const Variant& messageClass) = 0;
    /// The first item, and after it the one after the item returned last; empty at the end.
    virtual CRef<IMessageItem> GetFirst() = 0;
    virtual CRef<IMessageItem> GetNext() = 0;
    /// The item of that number (from 1); empty when there is none.
    virtual CRef<IMessageItem> GetItem(std::int32_t number) = 0;
    virtual std::int32_t GetCount() = 0;
};

/// The sub-folders of a folder.
class IFolderList : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0xE7707B13, 0x1256, 0x4BB0, {0xA1, 0xAB, 0xA5, 0x9F, 0x1B, 0x6E, 0xEF, 0x9C}};
    /// A new sub-folder. `type`: a container class (text), the kind of a default folder (number), or missing:
    /// then the folder is of its parent's class. A folder of that name that exists is an error.
    virtual CRef<IObject> AddFolder(std::u16string_view name, const Variant& type) = 0;
    /// The sub-folder of that name (text, exact) or number (from 1, in the order of their making); empty when
    /// there is none.
    virtual CRef<IStoreFolder> GetFolder(const Variant& index) = 0;
    virtual std::int32_t GetCount() = 0;
    /// Sub-folders that a damaged store names but that cannot be read; they are not among the others.
    virtual std::int32_t GetUnreadableCount() = 0;
};

/// A folder of a store.
class IStoreFolder : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x15B8597F, 0x0A55, 0x4361, {0xAE, 0x8B, 0x1F, 0x69, 0x0B, 0xC6, 0x1E, 0xE4}};
    /// Its items in the order of its contents table; associated ones are not among them.
    virtual CRef<IItemList> GetItems() = 0;
    virtual CRef<IFolderList> GetFolders() = 0;  ///< those right below it
    virtual std::u16string GetName() = 0;        ///< PidTagDisplayName; "" when it has none
    /// The class of what is kept in it, as "IPF.Note"; "" when it has none. PidTagContainerClass, [MS-OXOSFLD] 2.2.3
    virtual std::u16string GetContainerClass() = 0;
    /// Unread items as the folder counts them itself; no item is read for it.
    virtual std::int32_t GetUnreadCount() = 0;
};

/// Settings of a folder just made; an interface of the object that AddFolder returns.
class IFolderSettings : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x4A34CF03, 0xDB62, 0x4D32, {0x82, 0x9A, 0xB0, 0x07, 0x9E, 0x16, 0xE2, 0x8C}};
    /// Makes the folder the store's default folder of a kind (calendar, contacts, journal, notes, tasks).
    virtual void SetDefaultFolderKind(std::int32_t kind) = 0;
    /// Marks the folder as one that clients keep: 1. Nothing of it is stored: a PST has no place for it.
    virtual void SetFolderFlag(std::int32_t value) = 0;
};

/// One store.
class IMessageStore : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x1EDC0526, 0x2A75, 0x4DBC, {0xB5, 0x32, 0xB3, 0x40, 0x2B, 0x69, 0x9B, 0x1B}};
    /// The folder whose sub-folders the user sees at the top.
    virtual CRef<IStoreFolder> GetRootFolder() = 0;
    /// The name that the store gives itself.
    virtual std::u16string GetDisplayName() = 0;
    /// What of a damaged store as a whole could not be read when it was opened, a sentence each (UTF-8).
    virtual std::vector<std::string> GetOpeningFaults() = 0;
    /// Completes the file on disk with everything saved so far. A store whose last reference goes without it
    /// is completed then, but nobody learns of a failure.
    virtual void Commit() = 0;
};

/// The stores of a session.
class IStoreList : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x8AE3D19C, 0xC58A, 0x4AF0, {0x94, 0xD3, 0x92, 0x55, 0xF3, 0x41, 0x7E, 0x33}};
    /// The store added to the profile last.
    virtual CRef<IMessageStore> GetDefaultStore() = 0;
    /// Creates a PST file at the path (which must not exist) and adds it to the session and its profile.
    /// `format` is always missing. `displayName`: text.
    virtual CRef<IMessageStore> AddPstStore(const std::filesystem::path& path, const Variant& format,
                                            const Variant& displayName) = 0;
    /// Opens an existing store for reading, without a profile and without writing anything anywhere: PST or
    /// OST, of any variant, made by whatever program. `codePage`: name of the code page of 8-bit texts where
    /// the store does not say (text); missing: windows-1252. Raises E_NOT_FOUND when there is no such file or
    /// it has no folders, E_INVALIDARG when the code page is unknown, E_FAIL when it is no store.
    virtual CRef<IMessageStore> OpenPstStore(const std::filesystem::path& path, const Variant& codePage) = 0;
};

/// A session on one profile.
class IStoreSession : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0xE54C5168, 0xAA8C, 0x405F, {0x9C, 0x14, 0xA4, 0x03, 0x73, 0x02, 0xBD, 0x9D}};
    /// Opens the session on a profile (text). Stores that the profile lists are opened for reading.
    virtual void Logon(const Variant& profile) = 0;
    virtual CRef<IStoreList> GetStores() = 0;
    /// The default store's folder of a kind.
    virtual CRef<IStoreFolder> GetDefaultFolder(std::int32_t kind) = 0;
    /// The folder at "\\" + store name + any number of "\" + folder name. Raises E_NOT_FOUND.
    virtual CRef<IStoreFolder> GetFolderFromPath(std::u16string_view path) = 0;
};

/// The profiles of the user.
class IStoreProfiles : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0x488637EC, 0x1275, 0x4D75, {0xBE, 0x16, 0x40, 0x63, 0x0D, 0xFD, 0x4D, 0x76}};
    /// The profile of that name (text), empty when there is none.
    virtual CRef<IObject> FindProfile(const Variant& name) = 0;
    /// A new profile. `option` is 0 and `extra` empty.
    virtual CRef<IObject> AddProfile(std::u16string_view name, std::int16_t option, const Variant& extra) = 0;
};

/// A third top-level object, held while a run lasts: it has nothing to call, and its absence means, as that of the
/// others, that the component is not there.
class IStoreAuxiliary : public IObject {
public:
    static constexpr format::Guid kInterfaceId{
        0xD45B0772, 0x5801, 0x4E61, {0x9C, 0xBA, 0x84, 0x12, 0x05, 0x57, 0xA4, 0xD7}};
};

/// Makes the component's top-level objects. An empty reference means that the component is not there. One
/// place in each program chooses the factory; tests choose failing ones.
class IComponentFactory {
public:
    virtual ~IComponentFactory() = default;
    virtual CRef<IStoreProfiles> CreateProfiles() = 0;
    virtual CRef<IStoreSession> CreateSession() = 0;
    virtual CRef<IStoreAuxiliary> CreateAuxiliary() = 0;
};

}  // namespace pastille::writer
