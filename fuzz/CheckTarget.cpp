#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "check/Check.h"
#include "format/Block.h"
#include "format/Checksum.h"
#include "format/Crypt.h"
#include "format/Header.h"
#include "fuzz/Input.h"
#include "tests/support/FaultyFileSystem.h"
#include "tests/support/StoreBuilder.h"
#include "tests/support/StoreExample.h"
#include "tests/support/StoreMails.h"

namespace {

using namespace pastille;
using tests::Bytes;
using tests::PlaceKind;
using tests::StorePlace;

/// Small, but with trees of several levels, and nothing compressed.
std::unique_ptr<tests::CBuiltStore> Build(format::Variant variant)
{
    tests::StoreDescription store = tests::DescribeExample();
    store.format.variant = variant;
    store.format.packing = tests::Packing::None;
    store.format.nodesPerPage = store.format.blocksPerPage = store.format.childrenPerPage = 6;
    store.format.childrenPerBlock = 3;
    tests::StoreMessage& mail = store.folders.at(0).messages.at(0);
    mail.attachments = {
        {.fileName = u"tree", .data = Bytes(60'000, std::byte{1})},
        {.method = 5,
         .embedded = std::make_shared<tests::StoreMessage>(tests::Mail(u"Inner", u"Ada", u"Text", 0))}};
    return std::make_unique<tests::CBuiltStore>(store);
}

const tests::CBuiltStore& StoreOf(const format::VariantLayout& layout)
{
    static std::array<std::unique_ptr<tests::CBuiltStore>, 4> stores;
    auto& store = stores.at(static_cast<std::size_t>(layout.variant));
    if (!store)
        store = Build(layout.variant);
    return *store;
}

void Overwrite(std::span<std::byte> bytes, std::size_t offset, std::span<const std::byte> with)
{
    if (!bytes.empty())
        for (std::size_t i = 0; i < with.size(); ++i)
            bytes[(offset + i) % bytes.size()] = with[i];
}

/// Changes bytes of a page or of a decoded block and makes its checksum good again, so that the rules behind
/// the checksums have something to look at.
void Edit(std::span<std::byte> store, const format::VariantLayout& layout, const StorePlace& place,
          format::CryptMethod method, std::size_t offset, std::span<const std::byte> with)
{
    const auto extent = store.subspan(place.offset, place.extent);
    if (place.kind < PlaceKind::Data) {
        Overwrite(extent, offset, with);
        format::StoreLE(extent, layout.pageCrcOffset, format::ComputeCrc(extent.first(layout.typeOffset)));
        return;
    }
    const auto data = extent.first(place.stored);
    const bool isEncoded = place.kind == PlaceKind::Data;
    if (isEncoded)
        format::DecodeBlock(method, place.bid, data);
    Overwrite(data, offset, with);
    if (isEncoded)
        format::EncodeBlock(method, place.bid, data);
    format::StoreLE(extent.last(layout.blockTrailerSize), layout.blockCrcOffset, format::ComputeCrc(data));
}

void EditHeader(std::span<std::byte> store, const format::VariantLayout& layout, std::size_t offset,
                std::span<const std::byte> with)
{
    const auto bytes = store.first(layout.headerBytes);
    Overwrite(bytes, offset, with);
    if (const auto checked = format::DecodeHeader(layout, format::CByteView(bytes)))
        format::EncodeHeader(layout, checked->header, bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::CInput input(data, size);
    const format::VariantLayout& layout = input.TakeLayout();
    const tests::CBuiltStore& original = StoreOf(layout);
    const auto& places = original.Directory().places;
    Bytes store = original.Content();
    constexpr int kMostEdits = 16;
    constexpr std::size_t kLongestEdit = 16;
    for (int i = 0; i < kMostEdits && !input.IsEmpty(); ++i) {
        const auto number = input.Take<std::uint16_t>();
        const auto offset = input.Take<std::uint16_t>();
        const auto with = input.TakeBytes(input.Take<std::uint8_t>() % kLongestEdit + 1);
        if (number % 16 == 0)
            EditHeader(store, layout, offset, with);
        else
            Edit(store, layout, places.at(number % places.size()), original.Format().crypt, offset, with);
    }
    tests::CMemorySource source(store);
    check::CFindings findings;
    check::CheckStore(source, findings);
    return 0;
}
