#include "recovery/ItemReader.h"

#include "format/PropertyIds.h"
#include "writer/ValueConversion.h"

namespace pastille::recovery {

using namespace writer;

void CItemReader::ReadFrom(Origin origin, std::uint32_t bidData, std::uint32_t bidSub,
                           std::uint32_t parentNid)
try {
    m_origin = origin;
    m_parentNid = parentNid;
    m_placed = PlacedItem();
    m_bodies = BodyLocator();
    m_subjectSeen = false;
    m_mailWriter.BeginMessage(origin != Origin::Embedded);
    if (m_source.Open(bidData, bidSub))
        WalkProperties();
} catch (const _com_error& error) {
    if (error.IsStorageFailure())
        throw;
    // The rest of the item is lost; what its mail holds by now is still saved.
}

PlacedItem CItemReader::Place(const std::u16string& messageClass)
{
    switch (m_origin) {
        case Origin::Orphan:
            return m_placement.PlaceOrphan(messageClass);
        case Origin::Embedded:
            return m_placement.CreateEmbedded(messageClass);
        case Origin::Node:
            break;
    }
    return m_placement.Place(messageClass, m_parentNid);
}

void CItemReader::WalkProperties()
{
    for (const store::PropertyRecord& record : m_source.Records()) {
        if (record.id == format::pid::kMessageClass) {
            const auto messageClass = m_source.MessageClass(record);
            if (!messageClass) {
                m_bodies = BodyLocator();
                return;
            }
            m_placed = Place(*messageClass);
        }
        m_mailWriter.Record({record.id, record.type, record.value});
        try {
            WriteProperty(record);
        } catch (const _com_error& error) {
            if (error.IsStorageFailure())
                throw;
            // This property is lost, the next one may not be.
        }
    }
    Finish();
}

void CItemReader::WriteProperty(const store::PropertyRecord& record)
{
    if (m_placed.IsMail())
        WriteMailProperty(record);
    else if (m_placed.item)
        WriteFamilyProperty(*TraitsOf(*m_placed.family).table, m_placed.item,
                            {record.id, record.type, record.value}, m_source);
}

void CItemReader::WriteMailProperty(const store::PropertyRecord& record)
{
    const SourceProperty property{record.id, record.type, record.value};
    m_bodies.Note(record, m_run.source.reader.Kind());
    if (!m_source.IsWithinReach(property))
        return;
    if (!m_subjectSeen &&
        (record.id == format::pid::kSubject || record.id == format::pid::kConversationTopic))
        WriteMailSubject(property);
    m_mailWriter.Write(m_placed.item, property, m_source);
}

void CItemReader::WriteMailSubject(const SourceProperty& property)
{
    m_subjectSeen = true;
    m_placed.item->SetText(property::Subject,
                           SubjectText(m_source.StringValue(property.type, property.value)));
    m_recovery.log.Write(std::u16string(u"\r\n\r\n").append(TraitsOf(ItemFamily::Mail).logLabel));
    m_recovery.log.Write(LogName(m_placed.item->GetText(property::Subject)));
}

void CItemReader::Finish()
{
    if (!m_placed.item || m_placed.IsMail())
        return;
    const FamilyTraits& traits = TraitsOf(*m_placed.family);
    IMessageItem& item = *m_placed.item;
    if (traits.subjectStandIn != nullptr && item.GetText(property::Subject).empty())
        item.SetText(property::Subject, item.GetText(*traits.subjectStandIn));
    if (m_origin != Origin::Embedded) {  // an embedded item is saved when it has its place
        item.Save();
        ++m_recovery.figures.items[static_cast<std::size_t>(*m_placed.family)];
    }
    m_recovery.log.Write(
        std::u16string(u"\r\n\r\n").append(traits.logLabel).append(LogName(item.GetText(property::Subject))));
}

}  // namespace pastille::recovery
