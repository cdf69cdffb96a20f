#include "format/Inflate.h"

#define ZLIB_CONST  // of what it only reads
#include <zlib.h>

namespace pastille::format {

Inflated Inflate(std::span<const std::byte> packed, std::span<std::byte> output)
{
    z_stream stream{};
    stream.next_in = reinterpret_cast<const Bytef*>(packed.data());
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    if (inflateInit(&stream) != Z_OK)
        return {};
    const int result = inflate(&stream, Z_NO_FLUSH);
    inflateEnd(&stream);
    return {output.size() - stream.avail_out, result == Z_STREAM_END};
}

}  // namespace pastille::format
