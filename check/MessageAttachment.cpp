#include "check/MessageAttachment.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <vector>

#include "check/MessagingRules.h"
#include "check/PropertyCheck.h"
#include "check/TableCheck.h"
#include "check/TableColumns.h"
#include "check/TableCompare.h"
#include "format/Ids.h"
#include "format/PropertyIds.h"

namespace pastille::check {
namespace {

namespace pid = format::pid;

/// PidTagAttachMethod. [MS-OXCMSG] 2.2.2.9
enum class Method : std::uint32_t { None = 0, ByValue = 1, Embedded = 5, Ole = 6, LargestKnown = 7 };

const RowRules kAttachmentRowRules{rules::kAttachmentRowDifferent, rules::kAttachmentRowDifferent, {}};

bool IsAttachment(const CDatabase::Subnode& subnode)
{
    return format::Nid{subnode.nid}.Type() == format::NidType::Attachment;
}

void CheckSize(const CPropertyContext& properties, CHeapNode& node)
{
    const auto stated = properties.Number(pid::kAttachSize);
    const auto& all = properties.All();
    if (std::ranges::any_of(all, [](const Property& property) { return property.stored.isUnreadable; }))
        return;
    const std::uint64_t size =
        std::accumulate(all.begin(), all.end(), std::uint64_t{0},
                        [](std::uint64_t sum, const Property& property) { return sum + property.size; });
    if (stated && *stated != size)
        node.NoteMissing(rules::kAttachmentSize, {}, Instead(*stated, size));
}

/// The message that an object property leads to.
void NoteEmbedded(const Property& object, CHeapNode& node, std::vector<EmbeddedMessage>& embedded)
{
    const auto nid = object.stored.held.view.ReadOrZero<std::uint32_t>(0);
    const auto* const subnode = node.FindSubnode(nid);
    if (subnode == nullptr)
        return;  // the object's own finding
    if (format::Nid{nid}.Type() != format::NidType::NormalMessage) {
        node.Note(rules::kAttachmentData, {}, "no message in subnode " + Hex(nid));
        return;
    }
    embedded.push_back({node.Where().nid, nid, subnode->data, subnode->sub, object.size});
}

void CheckContent(const CPropertyContext& properties, CHeapNode& node, std::vector<EmbeddedMessage>& embedded)
{
    const auto method = properties.Number(pid::kAttachMethod);
    if (!method)
        return;
    const Property* const data = properties.Find(pid::kAttachDataBinary);
    const bool isObject = data != nullptr && data->tag.type == format::PropertyType::Object;
    const bool isBinary = data != nullptr && data->tag.type == format::PropertyType::Binary;
    const auto kind = static_cast<Method>(*method);
    bool isRight = true;
    if (kind == Method::ByValue)
        isRight = isBinary;
    else if (kind == Method::Embedded || kind == Method::Ole)
        isRight = isObject;
    else
        isRight = *method <= static_cast<std::uint32_t>(Method::LargestKnown);
    if (!isRight)
        node.NoteMissing(rules::kAttachmentData, {}, "method " + std::to_string(*method));
    if (kind == Method::Embedded && isObject)
        NoteEmbedded(*data, node, embedded);
}

class CAttachments {
public:
    CAttachments(CHeapNode& message, std::vector<EmbeddedMessage>& embedded)
        : m_message(message), m_embedded(embedded), m_isListed(message.Subnodes().size())
    {
    }

    void CheckTable(const CDatabase::Subnode& subnode);
    /// Those without a row too. Returns whether there are any.
    bool CheckOthers(bool hasTable);

private:
    void CheckRow(CTable& table, const TableRow& row);
    void CheckAttachment(const CDatabase::Subnode& subnode, CTable* table, const TableRow* row);
    std::size_t NumberOf(const CDatabase::Subnode& subnode) const
    {
        return static_cast<std::size_t>(&subnode - m_message.Subnodes().data());
    }

    CHeapNode& m_message;
    std::vector<EmbeddedMessage>& m_embedded;
    std::vector<bool> m_isListed;
    bool m_isTableBroken = false;
};

void CAttachments::CheckAttachment(const CDatabase::Subnode& subnode, CTable* table, const TableRow* row)
{
    m_message.UseSubnode(subnode);
    const Place place{subnode.nid, &m_message.Where()};
    CPropertyContext properties(m_message.Run(), place, subnode.data, subnode.sub);
    if (!properties.Open())
        return;
    CHeapNode& node = properties.Node();
    NoteMissing(properties, node, rules::kAttachmentProperty,
                {pid::kAttachSize, pid::kAttachMethod, pid::kRenderingPosition});
    CheckSize(properties, node);
    CheckContent(properties, node, m_embedded);
    if (table != nullptr)
        CompareRow(*table, *row, properties, kAttachmentRowRules);
    node.ReportUnused();
}

void CAttachments::CheckRow(CTable& table, const TableRow& row)
{
    const auto* const subnode = m_message.FindSubnode(row.id);
    if (subnode == nullptr || !IsAttachment(*subnode) || m_isListed[NumberOf(*subnode)]) {
        if (m_message.IsWhole())
            table.Node().Note(rules::kAttachmentRowStray, "row " + std::to_string(row.number), Hex(row.id));
        return;
    }
    m_isListed[NumberOf(*subnode)] = true;
    CheckAttachment(*subnode, &table, &row);
}

void CAttachments::CheckTable(const CDatabase::Subnode& subnode)
{
    m_message.UseSubnode(subnode);
    const Place place{subnode.nid, &m_message.Where()};
    CTable table(m_message.Run(), place, subnode.data, subnode.sub);
    m_isTableBroken = !table.Open();
    if (m_isTableBroken)
        return;
    CheckColumns(table, TableKind::Attachments, ColumnDemand::Least);
    table.VisitRows([&](const TableRow& row) { CheckRow(table, row); });
    table.Node().ReportUnused();
}

bool CAttachments::CheckOthers(bool hasTable)
{
    bool hasAny = false;
    bool isTableNoted = false;
    for (const CDatabase::Subnode& subnode : m_message.Subnodes()) {
        if (!IsAttachment(subnode))
            continue;
        hasAny = true;
        if (m_isListed[NumberOf(subnode)])
            continue;
        if (!hasTable && !isTableNoted)
            m_message.Note(rules::kAttachmentRowMissing, {}, "no attachment table");
        else if (hasTable && !m_isTableBroken)
            m_message.Note(rules::kAttachmentRowMissing, "subnode " + Hex(subnode.nid));
        isTableNoted = true;
        CheckAttachment(subnode, nullptr, nullptr);
    }
    return hasAny;
}

}  // namespace

bool CheckAttachments(CHeapNode& message, std::vector<EmbeddedMessage>& embedded)
{
    CAttachments attachments(message, embedded);
    const auto* const table = message.FindSubnode(format::nids::kAttachmentTable.value);
    if (table != nullptr)
        attachments.CheckTable(*table);
    return attachments.CheckOthers(table != nullptr);
}

}  // namespace pastille::check
