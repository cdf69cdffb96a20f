#include <cstddef>
#include <cstdint>

#include "format/NameId.h"
#include "format/NamedPropertyMap.h"
#include "fuzz/BlockFile.h"
#include "store/NamedProperties.h"

// The first block as the Name-to-ID map's property context, the second as its subnodes; and each block as any
// of the map's streams.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace pastille;
    fuzz::CBlockFile file(fuzz::CInput(data, size));
    format::CNamedPropertyMap map;
    store::ReadNamedProperties(file.Reader(), file.Bid(0), file.Bid(1), map);
    for (std::uint32_t id = 0x8000; id < 0x8100; ++id)
        map.FindLid(id);
    for (const store::BlockRecord& block : file.Blocks()) {
        const format::CByteView stream = file.Bytes(block);
        for (const format::NameId& name : format::DecodeNameIds(stream)) {
            format::StringNameAt(stream, name.number);
            format::DecodeGuid(stream, name.guidIndex);
        }
    }
    return 0;
}
