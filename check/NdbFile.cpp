#include "check/NdbFile.h"

#include <algorithm>
#include <array>
#include <utility>

#include "format/Bytes.h"
#include "format/Crypt.h"
#include "format/Ids.h"

namespace pastille::check {
namespace {

constexpr std::size_t kLongestHeader = 564;

void CheckFields(const NdbFile& file, std::uint8_t faults)
{
    const auto note = [&](std::uint8_t fault, const Rule& rule, std::string detail) {
        if ((faults & fault) != 0)
            file.findings.Add(rule, "header", std::move(detail));
    };
    note(format::kHeaderBadMagic, rules::kHeaderClient, Hex(file.header.clientMagic));
    note(format::kHeaderBadSentinel, rules::kHeaderSentinel, Hex(file.header.sentinel));
    note(format::kHeaderBadPartialCrc, rules::kHeaderCrc, {});
    note(format::kHeaderBadFullCrc, rules::kHeaderFullCrc, {});
    if (file.header.amapValid == format::amapvalid::kInvalid)
        file.findings.Add(rules::kMapsOpen, "header", {});
    else if (file.header.amapValid > format::amapvalid::kValid)
        file.findings.Add(rules::kMapsMark, "header", Hex(file.header.amapValid));
}

/// The last section of the oldest files may be short: what would be behind the file's end counts as taken.
void CheckSections(const NdbFile& file)
{
    const std::uint64_t size = file.header.fileSize;
    const std::uint64_t first = format::kFirstAMapOffset;
    if (size <= first || (size - first) % format::kAMapSectionBytes != 0)
        file.findings.Add(
            file.layout->wide || size <= first ? rules::kFileSections : rules::kFileSectionsAnsi, "header",
            "ibFileEof " + Hex(size));
    if (size <= first)
        return;
    const std::uint64_t last =
        first + (size - first - 1) / format::kAMapSectionBytes * format::kAMapSectionBytes;
    if (file.header.lastAMapOffset != last)
        file.Add(rules::kLastAMap, "header", Hex(file.header.lastAMapOffset) + " instead of " + Hex(last));
}

void CheckSize(NdbFile& file)
{
    const std::uint64_t size = file.source.Size();
    const std::string detail = "ibFileEof " + Hex(file.header.fileSize) + ", file size " + Hex(size);
    if (size < file.header.fileSize)
        file.findings.Add(rules::kFileShort, "header", detail);
    else if (size > file.header.fileSize)
        file.Add(rules::kFileLong, "header", detail);
    if (!file.Is4k())
        CheckSections(file);
    file.end = std::min(size, file.header.fileSize);
}

}  // namespace

std::string PagePlace(std::uint64_t offset)
{
    return "page " + Hex(offset);
}

std::string BlockPlace(std::uint64_t bid)
{
    return "block " + Hex(bid);
}

std::string NodePlace(std::uint32_t nid)
{
    return "node " + Hex(nid);
}

bool ReadHeader(NdbFile& file)
{
    std::array<std::byte, kLongestHeader> bytes{};
    const std::size_t count = file.source.ReadAt(0, bytes);
    const format::CByteView view = std::span(std::as_const(bytes)).first(count);
    const auto variant = format::VariantOfVersion(view.ReadOrZero<std::uint16_t>(0x0A));
    if (view.ReadOrZero<std::uint32_t>(0) != format::kHeaderMagic || !variant) {
        file.findings.Add(rules::kNoStore, "header",
                          "dwMagic " + Hex(view.ReadOrZero<std::uint32_t>(0)) + ", wVer " +
                              std::to_string(view.ReadOrZero<std::uint16_t>(0x0A)));
        return false;
    }
    file.layout = &format::LayoutOf(*variant);
    const auto checked = format::DecodeHeader(*file.layout, view);
    if (!checked) {
        file.findings.Add(rules::kNoStore, "header", "only " + std::to_string(count) + " bytes");
        return false;
    }
    file.header = checked->header;
    CheckFields(file, checked->faults);
    CheckSize(file);
    if (file.header.cryptMethod > static_cast<std::uint8_t>(format::CryptMethod::Cyclic)) {
        file.findings.Add(rules::kHeaderCrypt, "header", Hex(file.header.cryptMethod));
        return false;
    }
    return true;
}

void CBlockTable::Add(const format::BlockEntry& entry)
{
    m_blocks.push_back({.bid = format::Bid{entry.reference.bid}.Key(),
                        .offset = entry.reference.offset,
                        .size = entry.size,
                        .inflatedSize = entry.inflatedSize,
                        .references = entry.references});
}

void CBlockTable::Close()
{
    std::ranges::stable_sort(m_blocks, {}, &BlockRecord::bid);
    const auto isSame = [](const BlockRecord& a, const BlockRecord& b) { return a.bid == b.bid; };
    m_blocks.erase(std::unique(m_blocks.begin(), m_blocks.end(), isSame), m_blocks.end());
    m_blocks.shrink_to_fit();
}

BlockRecord* CBlockTable::Find(std::uint64_t bid)
{
    const std::uint64_t key = format::Bid{bid}.Key();
    const auto at = std::ranges::lower_bound(m_blocks, key, {}, &BlockRecord::bid);
    return at != m_blocks.end() && at->bid == key ? &*at : nullptr;
}

}  // namespace pastille::check
