#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "format/Crypt.h"
#include "format/Layout.h"
#include "platform/RunState.h"
#include "store/HeapProbe.h"
#include "store/SourceFile.h"
#include "store/complete/BlockIndex.h"
#include "store/complete/NodeIndex.h"

namespace pastille::store::complete {

/// What a source file is.
struct FileType {
    format::Variant variant;
    FileKind kind;  ///< never Unknown
};

/// Finds out what a file is, by its pages and blocks: the variant of which the most stand in it with right
/// CRCs, wherever they lie. The kind is what the header's client magic says, else `kind`, else an OST for
/// 4 KB pages and a PST for others. Nothing when nothing in the file has the form of any variant. `proceed`
/// is asked now and then with the offset reached; nothing when it returns false.
std::optional<FileType> RecogniseFile(CSourceFile& source, std::optional<platform::SourceKind> kind,
                                      const std::function<bool(std::uint64_t)>& proceed);

/// What a complete recovery knows of its source after the scan. 64 bytes for a node and block at most.
struct CScannedSource {
    explicit CScannedSource(CSourceFile& sourceFile) : file(sourceFile) {}

    CSourceFile& file;
    FileType type{};
    format::CryptMethod method = format::CryptMethod::None;
    CBlockIndex blocks;
    CNodeIndex nodes;
    std::uint64_t statedSize = 0;  ///< bytes of the file, as a sound header says; 0: there is none
    /// Pages of the live node tree that are missing or damaged, where the tree above them shows them; nothing
    /// when its root is not known.
    std::optional<std::uint64_t> damagedNodePages;

    const format::VariantLayout& Layout() const { return format::LayoutOf(type.variant); }
};

/// Reads the file once, front to back, and finds its blocks and the pages of its node tree by their own CRCs,
/// at whatever offset they lie. Then decides which version of each node is the live one, adds the damaged
/// blocks that only pages and trailers tell of, and finds the crypt method. `proceed` is asked now and then
/// with the offset reached. False when it returned false.
/// REQUIRES: source.type is set.
bool ScanSource(CScannedSource& source, const std::function<bool(std::uint64_t)>& proceed);

}  // namespace pastille::store::complete
