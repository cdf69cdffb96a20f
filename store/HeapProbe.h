#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "format/Crypt.h"
#include "format/Layout.h"

namespace pastille::store {

/// What the client magic of the header says. [MS-PST] 2.2.2.6 wMagicClient
enum class FileKind { Unknown, Pst, Ost };

/// True for the four values of the word at offset 2 of a decoded block that begin a heap-on-node: property
/// context, table context and the two reserved ones. [MS-PST] 2.3.1.2
bool IsHeapSignature(std::uint16_t word);
/// True when the word may begin a property context in a file of this kind: the property-context signature in
/// a PST, any heap signature in an OST.
bool AcceptsSignature(FileKind kind, std::uint16_t word);

/// One bit for each crypt method.
constexpr std::uint8_t MethodBit(format::CryptMethod method)
{
    return static_cast<std::uint8_t>(1u << static_cast<unsigned>(method));
}

/// As many stored bytes of a block as HeapMethods needs: also those of a packed block give their first ones.
inline constexpr std::size_t kProbeBytes = 1024;

/// The crypt methods (MethodBit) under which a block whose stored bytes begin with `head` begins a heap that
/// a file of this kind accepts. In 4 KB files packed blocks are looked into, packed before or after encoding.
std::uint8_t HeapMethods(FileKind kind, const format::VariantLayout& layout, std::uint32_t bid,
                         std::span<const std::byte> head);

}  // namespace pastille::store
