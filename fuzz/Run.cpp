#include "fuzz/Run.h"

#include <utility>

#include "format/Header.h"
#include "format/Page.h"
#include "store/NodeCollector.h"
#include "tests/support/FaultyFileSystem.h"

namespace pastille::fuzz {
namespace {

class CSilentFrontEnd final : public platform::IFrontEnd {
public:
    void Send(const platform::Message&) override {}
};

}  // namespace

void RunOver(std::span<const std::byte> file, store::IRecovery& recovery, bool smartScan,
             platform::RunSettings settings)
{
    tests::CMemoryFileSystem files(file);
    CSilentFrontEnd frontEnd;
    settings.smartScan = smartScan;
    platform::RunState state;
    store::COutLook(files, frontEnd, recovery).Run(settings, state);
}

void RunOver(std::span<const std::byte> file, store::IRecovery& recovery, platform::RunSettings settings)
{
    const bool smartScan = !file.empty() && (file.back() & std::byte{1}) != std::byte{0};
    RunOver(file, recovery, smartScan, std::move(settings));
}

tests::Bytes StoreBeginning(const format::VariantLayout& layout)
{
    const std::uint64_t pageOffset = store::ScanStart(layout.variant);
    tests::Bytes bytes(pageOffset + layout.pageSize);
    format::FileHeader header;
    header.version = layout.variant == format::Variant::Ansi      ? format::kVersionAnsi
                     : layout.variant == format::Variant::Unicode ? format::kVersionUnicode
                                                                  : format::kVersionUnicode4k;
    format::EncodeHeader(layout, header, std::span(bytes).first(layout.headerBytes));
    const auto page = std::span(bytes).last(layout.pageSize);
    format::EncodeNodeEntry(layout, {.nid = 0x21, .bidData = 4}, page);
    format::EncodeTreePage(layout, page, format::PageType::NodeTree, 0, 1, pageOffset, 0x1000001);
    return bytes;
}

}  // namespace pastille::fuzz
