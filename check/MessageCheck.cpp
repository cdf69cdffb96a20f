#include "check/MessageCheck.h"

#include <deque>
#include <vector>

#include "check/LtpRules.h"
#include "check/MessageAttachment.h"
#include "check/MessagingRules.h"
#include "check/TableCheck.h"
#include "check/TableColumns.h"
#include "format/Ids.h"
#include "format/PropertyIds.h"

namespace pastille::check {
namespace {

namespace pid = format::pid;

/// Few programs follow embedded messages deeper than this.
constexpr unsigned kDeepestCommon = 128;
/// Embedded messages below one another that are looked at; the deepest that ours writes is not far below.
constexpr unsigned kDeepest = 1024;
constexpr std::uint32_t kAssociatedFlag = 0x40;
constexpr std::uint32_t kAttachmentFlag = 0x10;
constexpr std::uint64_t kSearchKeySize = 16;

constexpr std::size_t kRtfHeaderSize = 16;
constexpr std::uint32_t kRtfCompressed = 0x75465A4C;  ///< "LZFu"
constexpr std::uint32_t kRtfStored = 0x414C454D;      ///< "MELA"

void CheckRequired(const CPropertyContext& properties, CHeapNode& node, bool isAssociated)
{
    // Caches of server mailboxes keep the times in the rows of the contents tables.
    if (node.Run().IsPst())
        NoteMissing(properties, node, rules::kMessageProperty,
                    {pid::kMessageClass, pid::kMessageFlags, pid::kMessageSize, pid::kCreationTime,
                     pid::kLastModificationTime});
    else
        NoteMissing(properties, node, rules::kMessageProperty,
                    {pid::kMessageClass, pid::kMessageFlags, pid::kMessageSize});
    const Property* const searchKey = properties.Find(pid::kSearchKey);
    if (searchKey == nullptr || searchKey->size != kSearchKeySize)
        node.NoteMissing(rules::kMessageSearchKey);
    const auto flags = properties.Number(pid::kMessageFlags);
    if (flags && ((*flags & kAssociatedFlag) != 0) != isAssociated)
        node.Note(rules::kMessageAssociated, {}, "flags " + Hex(*flags));
}

/// [MS-OXRTFCP] 2.1.3.1
void CheckRtf(const CPropertyContext& properties, CHeapNode& node)
{
    const Property* const rtf = properties.Find(pid::kRtfCompressed);
    if (rtf == nullptr || rtf->stored.size == 0)
        return;
    format::HeldBytes start = rtf->stored.held;
    if (rtf->stored.isInSubnode) {
        auto tree = node.Run().Database().OpenData(rtf->stored.dataBid);
        start.owner = tree && tree->BlockCount() != 0 ? tree->BlockAt(0) : nullptr;
        if (!start.owner)
            return;
        start.view = format::CByteView(*start.owner);
    }
    const auto contentSize = start.view.ReadOrZero<std::uint32_t>(0);
    const auto type = start.view.ReadOrZero<std::uint32_t>(8);
    if (start.view.Size() < kRtfHeaderSize || contentSize + std::uint64_t{4} != rtf->stored.size ||
        (type != kRtfCompressed && type != kRtfStored))
        node.Note(rules::kMessageRtf, {},
                  "COMPSIZE " + Hex(contentSize) + " of " + std::to_string(rtf->stored.size) + " bytes");
}

void CheckRecipients(CHeapNode& node, bool isAssociated)
{
    const auto* const subnode = node.FindSubnode(format::nids::kRecipientTable.value);
    if (subnode == nullptr) {
        if (!isAssociated)
            node.NoteMissing(rules::kRecipientTable);
        return;
    }
    node.UseSubnode(*subnode);
    const Place place{subnode->nid, &node.Where()};
    CTable table(node.Run(), place, subnode->data, subnode->sub);
    if (!table.Open())
        return;
    CheckColumns(table, TableKind::Recipients, ColumnDemand::Least);
    table.VisitRows([&](const TableRow& row) {
        if (!row.Number(pid::kRecipientType))
            table.Node().Note(rules::kRecipientType, "row " + std::to_string(row.number));
    });
    table.Node().ReportUnused();
}

/// Checks a message but for those in it, which are added to `embedded`.
void CheckOne(CMessagingRun& run, const MessageNode& message,
              const std::function<void(CPropertyContext&)>& visit, std::vector<EmbeddedMessage>& embedded)
{
    CPropertyContext properties(run, message.place, message.data, message.sub);
    if (!properties.Open())
        return;
    CHeapNode& node = properties.Node();
    CheckRequired(properties, node, message.isAssociated);
    CheckRtf(properties, node);
    CheckRecipients(node, message.isAssociated);
    const bool hasAttachments = CheckAttachments(node, embedded);
    const auto flags = properties.Number(pid::kMessageFlags);
    if (flags && ((*flags & kAttachmentFlag) != 0) != hasAttachments)
        node.NoteMissing(rules::kMessageAttachFlag, {}, "flags " + Hex(*flags));
    visit(properties);
    node.ReportUnused();
}

/// A message inside others that is still to be checked.
struct Pending {
    const Place* attachment;
    const Place* place;
    EmbeddedMessage message;
    unsigned depth;  ///< messages around it
};

/// Checks messages embedded in one another, one at a time.
class CEmbeddedCheck {
public:
    explicit CEmbeddedCheck(CMessagingRun& run) : m_run(run) {}

    std::vector<EmbeddedMessage>& Found() { return m_found; }
    /// Checks what was found in the message at `outer`, and what is in that.
    void Run(const Place& outer)
    {
        TakeFound(outer, 1);
        while (!m_pending.empty()) {
            const Pending next = m_pending.back();
            m_pending.pop_back();
            if (next.depth == kDeepestCommon + 1)
                m_run.Note(rules::kMessageNesting, *next.place);
            if (next.depth > kDeepest)
                continue;
            Check(next);
            TakeFound(*next.place, next.depth + 1);
        }
    }

private:
    void TakeFound(const Place& outer, unsigned depth)
    {
        for (const EmbeddedMessage& message : m_found) {
            const Place& attachment = m_places.emplace_back(Place{message.attachment, &outer});
            const Place& place = m_places.emplace_back(Place{message.nid, &attachment});
            m_pending.push_back({&attachment, &place, message, depth});
        }
        m_found.clear();
    }
    void Check(const Pending& next)
    {
        const auto compareSize = [&](CPropertyContext& properties) {
            const auto size = properties.Number(pid::kMessageSize);
            if (size && *size != next.message.statedSize)
                m_run.Note(rules::kEmbeddedSize, *next.attachment, {},
                           Instead(next.message.statedSize, *size));
        };
        CheckOne(m_run, {*next.place, next.message.data, next.message.sub}, compareSize, m_found);
    }

    CMessagingRun& m_run;
    std::vector<EmbeddedMessage> m_found;
    std::vector<Pending> m_pending;
    std::deque<Place> m_places;  ///< stay where they are: the inner ones point to the outer
};

}  // namespace

void CheckMessage(CMessagingRun& run, const MessageNode& message,
                  const std::function<void(CPropertyContext&)>& visit)
{
    CEmbeddedCheck embedded(run);
    CheckOne(run, message, visit, embedded.Found());
    embedded.Run(message.place);
}

}  // namespace pastille::check
