#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "format/Crypt.h"
#include "format/Layout.h"
#include "store/BlockTable.h"
#include "store/HeapProbe.h"
#include "store/SourceFile.h"

namespace pastille::store {

/// First words of tree blocks: btype in the low byte, cLevel in the high byte. [MS-PST] 2.2.2.8.3
namespace treeword {
inline constexpr std::uint16_t kXBlock = 0x0101;
inline constexpr std::uint16_t kXXBlock = 0x0201;
inline constexpr std::uint16_t kSlBlock = 0x0002;
inline constexpr std::uint16_t kSiBlock = 0x0102;
}  // namespace treeword

/// True for the BID of a tree block; those of data blocks have this bit clear. [MS-PST] 2.2.2.2
constexpr bool IsInternal(std::uint32_t bid)
{
    return (bid & 2) != 0;
}

/// Reads blocks of the source: bytes, decoding, inflating. The crypt method is found by trial, not taken from
/// the header. Not for use by two threads at once.
class CBlockReader {
public:
    using Buffer = std::vector<std::byte>;

    CBlockReader(CSourceFile& source, const CBlockTable& table) : m_source(source), m_table(table) {}

    /// Starts afresh on a file of that variant and kind: no crypt method known.
    void Reset(const format::VariantLayout& layout, FileKind kind);

    const format::VariantLayout& Layout() const { return *m_layout; }
    FileKind Kind() const { return m_kind; }
    format::CryptMethod Method() const { return m_method; }
    /// True until a trial has succeeded.
    bool IsMethodPending() const { return m_methodPending; }

    /// True when the signature word may begin a property context in a file of this kind: the property-context
    /// signature in a PST, any heap signature in an OST.
    bool AcceptsSignature(std::uint16_t word) const { return store::AcceptsSignature(m_kind, word); }

    /// Tries the three crypt methods on a block; on success the method is set and no longer pending.
    bool DetectCryptMethod(const BlockRecord& block);
    /// Sets the method found otherwise.
    void SetMethod(format::CryptMethod method);

    /// A block's bytes as they stand in the file; what cannot be read is zero. False when nothing can be
    /// read.
    bool ReadRaw(const BlockRecord& block, Buffer& into);
    /// Bytes read and decoded; inflated only when they were encoded before they were packed, which the stored
    /// bytes tell: they are a whole zlib stream. What cannot be read stays zero.
    bool ReadDecoded(const BlockRecord& block, Buffer& into);
    /// A data block's contents: read, decoded, and inflated unless it begins a heap.
    bool ReadContents(const BlockRecord& block, Buffer& into);
    /// The contents of a data block that is a piece of a file: never taken for a heap, and packed only when
    /// it is smaller than the largest block.
    bool ReadFilePiece(const BlockRecord& block, Buffer& into);
    /// A tree block's contents (XBLOCK, SLBLOCK): never encoded; inflated in a 4 KB file when it is packed.
    bool ReadTreeBlock(const BlockRecord& block, Buffer& into);

    /// In a 4 KB file replaces the bytes with what they inflate to: never more than 200,000 bytes of at most
    /// 100,000. Bytes that inflate to nothing were never packed and stay; so does everything in other files.
    void Inflate(Buffer& bytes) const;

    std::optional<BlockRecord> Find(std::uint32_t bid) const { return m_table.FindWithRetry(bid); }
    std::uint64_t SourceSize() const { return m_source.Size(); }

private:
    bool ReadDecoded(const BlockRecord& block, Buffer& into, bool& unpacked);
    bool Unpack(Buffer& bytes) const;

    CSourceFile& m_source;
    const CBlockTable& m_table;
    const format::VariantLayout* m_layout = &format::kAnsiLayout;
    FileKind m_kind = FileKind::Unknown;
    format::CryptMethod m_method = format::CryptMethod::None;
    bool m_methodPending = true;
};

}  // namespace pastille::store
