#pragma once

#include <cstdint>
#include <string>

#include "platform/Messages.h"
#include "writer/Component.h"
#include "writer/PropertySource.h"

namespace pastille::writer {

/// Writes the properties of mails. Each handled property is written as it comes, without regard to what the
/// item holds already. Also tells the front end the cells of the mail's row in the live item list.
class CMailWriter {
public:
    /// The front end must outlive this object.
    explicit CMailWriter(platform::IFrontEnd& frontEnd) : m_frontEnd(frontEnd) {}

    /// Forgets the message before and its recorded values. A message that `showsRow` is false for has no row.
    void BeginMessage(bool showsRow = true);
    /// True when the list has a row for the message.
    bool HasRow() const { return m_showsRow && (m_fromSeen || m_toSeen || m_subjectShown); }
    /// Takes note of the message's importance, sensitivity and follow-up icon. Wanted for every record of the
    /// message, before it is written: their rows are written only while a value is on record.
    void Record(const SourceProperty& property);
    /// Writes one property. Raises what the component raises.
    void Write(const CRef<IMessageItem>& item, const SourceProperty& property, IPropertySource& source);

private:
    struct Row;
    struct Call {
        const CRef<IMessageItem>& item;
        const SourceProperty& property;
        IPropertySource& source;
        const ItemProperty* target;
    };
    static const Row* FindRow(std::uint32_t id);

    void WriteText(const Call& call);
    void WriteDate(const Call& call);
    void WriteFlag(const Call& call);
    void WriteNumber(const Call& call);
    void WriteFrom(const Call& call);
    void WriteTo(const Call& call);
    void WriteDeliveryTime(const Call& call);
    void WriteVerb(const Call& call);
    void WriteImportance(const Call& call);
    void WriteSensitivity(const Call& call);
    void WriteFollowupIcon(const Call& call);
    void WriteMessageFlags(const Call& call);
    void ShowRowWithoutTo(const CRef<IMessageItem>& item);
    void ShowCell(unsigned cell, std::u16string text);

    /// Values on record. The initial ones stand for a property that the message does not have.
    struct Recorded {
        std::uint16_t importance;
        std::uint16_t sensitivity;
        std::uint16_t followupIcon;
    };
    static constexpr Recorded kNoneRecorded{.importance = 3, .sensitivity = 4, .followupIcon = 7};

    platform::IFrontEnd& m_frontEnd;
    Recorded m_recorded = kNoneRecorded;
    bool m_showsRow = true;
    bool m_fromSeen = false;
    bool m_toSeen = false;
    bool m_subjectShown = false;
};

}  // namespace pastille::writer
