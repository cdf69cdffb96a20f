#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "recovery/SourceItem.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// What a mail says of its bodies: their HNIDs, and what decides which of them is taken.
struct BodyLocator {
    std::optional<std::uint32_t> html;
    std::optional<std::uint32_t> plain;
    std::optional<std::uint32_t> rtf;
    /// The HNID of the body property met last, which decides where the body is looked for; 0 for none. HTML
    /// decides only in an OST.
    std::uint32_t deciding = 0;
    bool isPlainNarrow = false;      ///< the plain body says that it is 8-bit text
    std::uint32_t messageSize = 0;   ///< bytes, as the mail states it
    std::uint32_t htmlCodePage = 0;  ///< number of the code page of the HTML body; 0 when the mail has none

    /// Takes note of a record when it is one of these properties.
    void Note(const store::PropertyRecord& record, store::FileKind kind);
};

/// Writes one body of a mail. When the deciding one lies in the item's heap: the plain one of the heap, else
/// the RTF one of the heap, else the plain one of a subnode. When it lies in a subnode: the HTML one of a
/// subnode, else the plain one wherever it lies; of a large mail in 512-byte pages only the plain one. HTML
/// in the heap and RTF in a subnode are never read.
///
/// `runCodePage` is the name of the source's code page. `allows` is asked whether a body of so many stored
/// bytes may be read. Returns false when the body's place in the heap is damaged and nothing more of the item
/// is to be read. Raises what the component raises.
bool WriteBody(CSourceItem& source, const BodyLocator& locator, const std::string& runCodePage,
               const std::function<bool(std::uint64_t)>& allows,
               const writer::CRef<writer::IMessageItem>& mail);

}  // namespace pastille::recovery
