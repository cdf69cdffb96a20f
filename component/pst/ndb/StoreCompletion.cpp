#include "component/pst/ndb/StoreCompletion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "component/pst/ndb/AllocationPlan.h"
#include "component/pst/ndb/MapPages.h"
#include "component/pst/ndb/NdbReader.h"
#include "component/pst/ndb/NewStoreLayout.h"

namespace pastille::component::pst {
namespace {

/// Space that the trees name, in units of 64 bytes.
struct Extent {
    std::uint32_t start;
    std::uint32_t count;
};

std::optional<format::FileHeader> ReadHeader(platform::IByteSource& file)
{
    std::array<std::byte, kLayout.headerBytes> bytes{};
    const std::size_t read = file.ReadAt(0, bytes);
    const auto checked = format::DecodeHeader(kLayout, format::CByteView(std::span(bytes).first(read)));
    if (!checked || checked->faults != format::kHeaderSound ||
        checked->header.version != format::kVersionUnicode)
        return std::nullopt;
    return checked->header;
}

/// The first byte behind the map pages of a section.
std::uint64_t FirstFreeOf(std::uint64_t section)
{
    return CAllocationPlan::SectionStart(section) + CAllocationPlan::MapPagesOf(section).size() * kPageBytes;
}

std::vector<Extent> ReadExtents(platform::IFile& file, std::uint64_t fileSize)
{
    std::vector<Extent> extents;
    const auto add = [&](const char* structure, std::uint64_t offset, std::uint64_t extent) {
        if (offset < format::kFirstAMapOffset || offset % format::kAllocationUnit != 0 || offset > fileSize ||
            extent == 0 || extent > fileSize - offset ||
            CAllocationPlan::SectionOf(offset) != CAllocationPlan::SectionOf(offset + extent - 1) ||
            offset < FirstFreeOf(CAllocationPlan::SectionOf(offset)) ||
            offset / format::kAllocationUnit > 0xFFFFFFFF)
            throw CFormatError({structure, "ib", offset, offset});
        extents.push_back({static_cast<std::uint32_t>(offset / format::kAllocationUnit),
                           static_cast<std::uint32_t>(extent / format::kAllocationUnit)});
        return true;
    };
    CNdbReader reader(file);
    reader.VisitTreePages(
        [&](std::uint64_t offset, format::PageType) { return add("BTPAGE", offset, kPageBytes); });
    reader.VisitBlocks([&](const format::BlockEntry& entry) {
        return add("BBTENTRY", entry.reference.offset, format::BlockExtent(kLayout, entry.size));
    });
    std::ranges::sort(extents, {}, &Extent::start);
    return extents;
}

}  // namespace

void WriteHeaderTo(platform::IFile& file, const format::FileHeader& header)
{
    std::array<std::byte, kLayout.headerBytes> bytes;
    format::EncodeHeader(kLayout, header, bytes);
    file.WriteAt(0, bytes);
    file.Sync();
}

bool IsInterrupted(platform::IByteSource& source)
{
    const auto header = ReadHeader(source);
    return header && header->amapValid == format::amapvalid::kInvalid;
}

bool CompleteStore(platform::IFile& file)
{
    auto header = ReadHeader(file);
    if (!header || header->amapValid != format::amapvalid::kInvalid ||
        header->fileSize <= format::kFirstAMapOffset || file.Size() < header->fileSize)
        return false;
    const std::vector<Extent> extents = ReadExtents(file, header->fileSize);
    file.SetSize(header->fileSize);
    CMapPageWriter maps(file, CAllocationPlan::SectionOf(header->fileSize - 1) + 1);
    std::uint64_t end = 0;
    for (const Extent& extent : extents) {
        if (extent.start < end)
            throw CFormatError({"BBTENTRY", "ib", std::uint64_t{extent.start} * format::kAllocationUnit, 0});
        end = std::uint64_t{extent.start} + extent.count;
        maps.Add(std::uint64_t{extent.start} * format::kAllocationUnit,
                 std::uint64_t{extent.count} * format::kAllocationUnit);
    }
    header->freeBytes = maps.Finish(header->nextPageBid);
    header->amapValid = format::amapvalid::kValid;
    file.Sync();
    WriteHeaderTo(file, *header);
    return true;
}

}  // namespace pastille::component::pst
