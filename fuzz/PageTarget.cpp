#include <cstddef>
#include <cstdint>

#include "format/Checksum.h"
#include "format/Page.h"
#include "fuzz/Input.h"
#include "fuzz/Run.h"

namespace {

using namespace pastille;

void ParseStrictly(const format::VariantLayout& layout, format::CByteView bytes, std::uint64_t offset)
{
    format::ParsePageTrailer(layout, bytes, offset);
    const auto page = format::CTreePage::Parse(layout, bytes);
    for (std::size_t i = 0; page && i < page->Count(); ++i) {
        page->KeyAt(i);
        if (page->Level() != 0)
            page->ChildAt(i);
        else if (page->Tree() == format::PageType::NodeTree)
            page->NodeAt(i);
        else
            page->BlockAt(i);
    }
}

/// Most pages are refused for a signature that does not fit their place; a fuzzer rarely guesses one.
void MendSignature(const format::VariantLayout& layout, std::span<std::byte> page, std::uint64_t offset)
{
    const auto bid = format::LoadLE<std::uint32_t>(page, layout.pageBidOffset);
    format::StoreLE(page, layout.signatureOffset, format::ComputeSignature(offset, bid));
}

}  // namespace

// A few pages of any kind. First bytes: the variant, and bits: 1 to mend the signatures, 2 for a Smart Scan.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::CInput input(data, size);
    const format::VariantLayout& layout = input.TakeLayout();
    const auto flags = input.Take<std::uint8_t>();
    tests::Bytes file = fuzz::StoreBeginning(layout);
    while (!input.IsEmpty()) {
        const std::size_t offset = file.size();
        const auto bytes = input.TakeBytes(layout.pageSize);
        ParseStrictly(layout, bytes, offset);
        file.insert(file.end(), bytes.begin(), bytes.end());
        file.resize(offset + layout.pageSize);
        const auto page = std::span(file).last(layout.pageSize);
        if ((flags & 1) != 0)
            MendSignature(layout, page, offset);
        ParseStrictly(layout, std::as_bytes(page), offset);
    }
    fuzz::CNoRecovery recovery;
    fuzz::RunOver(file, recovery, (flags & 2) != 0);
    return 0;
}
