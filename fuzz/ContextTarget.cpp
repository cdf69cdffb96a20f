#include <cstddef>
#include <cstdint>

#include "store/HeapBlock.h"

// One decoded block as a property context: the first byte chooses the variant.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace pastille;
    if (size == 0)
        return 0;
    const format::VariantLayout& layout =
        data[0] % 2 == 0 ? format::kUnicodeLayout : format::kUnicode4kLayout;
    const store::CHeapBlock heap(format::CByteView(std::as_bytes(std::span(data + 1, size - 1))), layout);
    for (const bool checkHeader : {false, true}) {
        const auto records = heap.PropertyRecords(checkHeader);
        for (std::size_t i = 0; records && i < records->size(); ++i) {
            heap.Value((*records)[i].value);
            heap.Allocation((*records)[i].value);
            heap.PassesBoundsTest((*records)[i].value);
        }
    }
    return 0;
}
