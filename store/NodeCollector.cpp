#include "store/NodeCollector.h"

#include <vector>

#include "format/Bytes.h"
#include "format/Checksum.h"
#include "format/Page.h"
#include "store/WindowScan.h"

namespace pastille::store {
namespace {

constexpr std::size_t kIntermediateEntrySize = 24;
constexpr std::uint32_t kValueLimit = 0xFFFFFF;

/// The entries of some pages.
struct WindowNodes {
    CNodeList nodes;
    PageFindings findings;
};

/// Whether the entries of a page are read: of a leaf even with a wrong signature, of a page with entries of
/// 24 bytes only with a right one.
bool AcceptNodePage(format::CByteView page, const format::VariantLayout& layout, std::uint64_t fileOffset,
                    PageFindings& findings)
{
    const std::size_t entrySize = page.ReadOrZero<std::uint8_t>(layout.entrySizeOffset);
    const auto bid = page.ReadOrZero<std::uint32_t>(layout.pageBidOffset);
    const bool isSigned =
        page.ReadOrZero<std::uint16_t>(layout.signatureOffset) == format::ComputeSignature(fileOffset, bid);
    if (entrySize == layout.nodeEntrySize) {
        ++findings.accepted;
        findings.wrongSignature += !isSigned;
        return true;
    }
    if (entrySize != kIntermediateEntrySize && entrySize != layout.blockEntrySize)
        ++findings.refusedEntrySize;
    else
        ++(isSigned ? findings.index : findings.refusedSignature);
    return entrySize == kIntermediateEntrySize && isSigned;
}

/// Entries are read until a zero nid or the end of the entry area; the page's own count is not believed.
void AddEntries(format::CByteView page, const format::VariantLayout& layout, WindowNodes& found)
{
    for (std::size_t at = 0; at < layout.entryAreaEnd; at += layout.nodeEntrySize) {
        const auto bytes = page.Sub(at, layout.nodeEntrySize);
        const auto entry = bytes ? format::DecodeNodeEntry(layout, *bytes) : std::nullopt;
        if (!entry || static_cast<std::uint32_t>(entry->nid) == 0)
            return;
        const auto bidData = static_cast<std::uint32_t>(entry->bidData);
        const auto bidSub = static_cast<std::uint32_t>(entry->bidSub);
        if (bidData < kValueLimit && bidSub < kValueLimit && entry->nidParent < kValueLimit) {
            found.nodes.Append(static_cast<std::uint32_t>(entry->nid), bidData, bidSub, entry->nidParent);
            ++found.findings.entries;
        } else {
            ++found.findings.entriesRefused;
        }
    }
}

WindowNodes FindNodes(const ScanWindow& window, const format::VariantLayout& layout)
{
    WindowNodes found;
    const std::uint64_t end = window.start + window.transferred;
    for (std::uint64_t offset = window.start; offset < end; offset += layout.pageSize) {
        const format::CByteView page = window.At(offset, layout.pageSize);
        if (page.ReadOrZero<std::uint16_t>(layout.typeOffset) != format::pageword::kNbt ||
            !AcceptNodePage(page, layout, offset, found.findings))
            continue;
        found.nodes.AddPage(offset, page.ReadOrZero<std::uint32_t>(layout.pageBidOffset));
        AddEntries(page, layout, found);
    }
    return found;
}

}  // namespace

bool ScanNodePages(CSourceFile& source, const format::VariantLayout& layout, CNodeList& nodes,
                   PageFindings& findings, const std::function<bool(std::uint64_t)>& proceed)
{
    const std::size_t chunkBytes = layout.variant == format::Variant::Unicode4k ? 65536 : 4096;
    return ScanWindows(
        source, ScanStart(layout.variant),
        [&layout](const ScanWindow& window) { return FindNodes(window, layout); },
        [&](const WindowNodes& found, const ScanWindow& window) {
            nodes.Append(found.nodes);
            findings.Add(found.findings);
            return window.ProceedThrough(chunkBytes, proceed);
        });
}

}  // namespace pastille::store
