#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recovery/complete/Account.h"
#include "recovery/complete/PropertyCopier.h"
#include "store/complete/FoundTable.h"
#include "writer/WholeItems.h"

namespace pastille::recovery::complete {

/// Of which item losses are told: where it goes and as far as it is known.
struct ItemPlace {
    std::size_t folder;  ///< of the account
    KnownItem item;
};

/// Opens an older version of a message; nullptr when there is none that can be read. It stays open as long as
/// the function lives.
using OlderVersion = std::function<store::complete::CFoundObject*()>;

/// Brings messages over whole: their properties, recipients and attachments, with the messages attached to
/// them and so on. Tells the account what is missing.
///
/// References come from a damaged file: messages are followed kDeepest levels down and never into themselves,
/// and the run's messages and attachments together are bounded.
class CMessageCopier {
public:
    static constexpr std::size_t kDeepest = 1000;

    /// All must outlive this object.
    CMessageCopier(store::complete::CSourceBlocks& blocks, CPropertyCopier& properties, CCodePages& pages,
                   CAccount& account);
    ~CMessageCopier();
    CMessageCopier(const CMessageCopier&) = delete;
    CMessageCopier& operator=(const CMessageCopier&) = delete;

    /// Begins a run: how many attachments all messages together may have, and how many one message with all
    /// that is attached to it.
    void Allow(std::uint64_t attachments, std::uint64_t ofMessage)
    {
        m_attachmentsLeft = attachments;
        m_mostOfMessage = ofMessage;
    }
    /// Copies a message and saves it. What of it cannot be read comes from its older version.
    /// Raises _com_error only when the file below the new store cannot be written.
    Outcome Copy(store::complete::CFoundObject& message, const OlderVersion& older,
                 const writer::CRef<writer::IWholeMessage>& target, const ItemPlace& place);

    CPropertyCopier& Properties() const { return m_properties; }
    std::uint64_t Attachments() const { return m_attachments; }
    std::uint64_t EmbeddedMessages() const { return m_embedded; }

private:
    struct Level;

    void BeginMessage(std::unique_ptr<store::complete::CFoundObject> own,
                      store::complete::CFoundObject& message, const OlderVersion& older,
                      const writer::CRef<writer::IWholeMessage>& copy);
    void LoseSubnodes(store::complete::CFoundObject& message);
    bool Step();
    void CopyProperties(store::complete::CFoundObject& message, const OlderVersion& older,
                        writer::IWholeMessage& target, const CItemText& text);
    void CopyRecipients(store::complete::CFoundObject& message, const OlderVersion& older,
                        writer::IWholeMessage& target, const CItemText& text);
    void CopyRows(store::complete::CFoundTable& recipients, writer::IWholeMessage& target,
                  const CItemText& text);
    std::vector<std::uint32_t> AttachmentsInOrder(store::complete::CFoundObject& message,
                                                  const CItemText& text);
    std::unique_ptr<store::complete::CFoundObject> OpenAttachment(const store::complete::Subnode& subnode,
                                                                  const OlderVersion& older);
    void BeginAttachment(Level& level, std::uint32_t nid);
    void FinishAttachment(Level& level);
    void FailAttachment(Level& level);
    void EndAttachment(Level& level);
    bool CopyObject(Level& level, const format::PropertyContextRecord& record);
    bool BeginEmbedded(Level& level, const store::complete::Subnode& subnode);
    void Lose(Loss::What what, std::u16string name, const std::optional<store::complete::SourceFault>& fault,
              std::optional<std::uint32_t> tag = std::nullopt);

    store::complete::CSourceBlocks& m_blocks;
    CPropertyCopier& m_properties;
    CCodePages& m_pages;
    CAccount& m_account;
    std::uint64_t m_attachmentsLeft = 0;
    std::uint64_t m_mostOfMessage = 0;
    std::uint64_t m_attachments = 0;
    std::uint64_t m_embedded = 0;
    // Of the message that is being copied:
    const ItemPlace* m_place = nullptr;
    bool m_isPartial = false;
    std::uint64_t m_leftOfMessage = 0;  ///< attachments
    std::vector<std::unique_ptr<Level>> m_levels;
    std::vector<std::u16string> m_within;  ///< names of the attachments that are open, the outermost first
};

}  // namespace pastille::recovery::complete
