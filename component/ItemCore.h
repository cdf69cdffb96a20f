#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/pst/messaging/PstStore.h"
#include "writer/Component.h"
#include "writer/ItemProperties.h"

namespace pastille::component {

/// One item, whatever its family: a message of a folder, or one that is not saved yet. What it raises has no
/// interface identifier yet (see Guarded).
///
/// An item read from the store loads single values when they are asked for, and all of them when the first
/// one is changed.
class CItemCore {
public:
    /// A new item of a class.
    CItemCore(std::shared_ptr<pst::CPstStore> store, pst::Folder& folder, std::u16string_view messageClass);
    /// A saved one.
    CItemCore(std::shared_ptr<pst::CPstStore> store, pst::Folder& folder, format::Nid message);
    /// One that is embedded in another one; it cannot be changed.
    CItemCore(const CItemCore& outer, const pst::NodeRecord& embedded);

    std::u16string Class();
    std::u16string Text(const writer::ItemProperty& property);
    /// At most that many bytes of a value that stands in the store are read.
    writer::TextStart TextStart(const writer::ItemProperty& property, std::uint32_t mostBytes);
    void SetText(const writer::ItemProperty& property, std::u16string_view text);
    double Date(const writer::ItemProperty& property);
    void SetDate(const writer::ItemProperty& property, double date);
    /// Flags and numbers.
    std::int32_t Number(const writer::ItemProperty& property);
    void SetNumber(const writer::ItemProperty& property, std::int32_t number);

    void SetReplied() { SetLastVerb(0x105, 102); }
    void SetForwarded() { SetLastVerb(0x106, 104); }
    void Save();

    std::size_t AttachmentCount();
    /// REQUIRES: index < AttachmentCount().
    pst::NodeRecord AttachmentNode(std::size_t index);
    void AddFile(platform::IByteStream& content, std::u16string_view fileName,
                 std::u16string_view displayName);
    /// As AddFile; what begins like a picture becomes the contact's picture when it has none yet.
    void AddPicture(platform::IByteStream& content, std::u16string_view fileName);
    /// Adds the other item as it is now. One that is not saved yet lives in this one from then on.
    void AddItem(CItemCore& item, std::u16string_view displayName);

    pst::CPstStore& Store() { return *m_store; }
    /// The text of a string value of this item or of its attachments.
    std::u16string TextOf(const pst::PropertyValue& value);

private:
    std::optional<pst::PropertyValue> Value(std::uint16_t id);
    std::u16string TextOf(const writer::ItemProperty& property, const pst::PropertyValue& value);
    std::optional<std::uint16_t> FindId(const writer::ItemProperty& property);
    std::uint16_t MakeId(const writer::ItemProperty& property);
    void Put(std::uint16_t id, std::optional<pst::PropertyValue> value);
    std::uint32_t Flags();
    std::uint32_t HtmlCodePage();
    std::uint32_t TextCodePage();
    pst::NodeRecord Node();
    const std::vector<format::Nid>& SavedAttachments();
    void SetLastVerb(std::uint32_t iconIndex, std::uint32_t verb);
    pst::MessageDraft& Draft();
    pst::Attachment& AddFile(const pst::AttachmentFile& file);
    bool HasPicture() const;
    /// Gives a distribution list its two member lists, empty: a list that lacks them is refused by readers.
    void GiveNoMembers();

    std::shared_ptr<pst::CPstStore> m_store;
    pst::Folder& m_folder;
    std::optional<format::Nid> m_message;       ///< once saved
    std::optional<pst::NodeRecord> m_embedded;  ///< in place of `m_message`
    bool m_livesInAnother = false;              ///< saving it puts it into no folder
    std::optional<pst::MessageDraft> m_draft;   ///< once changed
    // Of the saved item, while there is no draft.
    std::unique_ptr<pst::CPropertyReader> m_reader;
    std::optional<std::vector<format::Nid>> m_attachments;
};

}  // namespace pastille::component
