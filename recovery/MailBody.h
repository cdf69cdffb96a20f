#pragma once

#include <cstdint>
#include <optional>

#include "recovery/SourceItem.h"
#include "writer/Component.h"

namespace pastille::recovery {

/// Which body properties a mail has: their HNIDs.
struct BodyLocator {
    std::optional<std::uint32_t> html;
    std::optional<std::uint32_t> plain;
    std::optional<std::uint32_t> rtf;
    /// The HNID of the body property met last, which decides where the body is looked for; 0 for none. HTML
    /// decides only in an OST.
    std::uint32_t deciding = 0;

    /// Takes note of a record when it is a body property.
    void Note(const store::PropertyRecord& record, store::FileKind kind);
};

/// Writes a body that lies in the item's heap: the plain one, else the RTF one. Bodies in subnodes are left
/// alone. Returns false when the body's place in the heap is damaged and nothing more of the item is to be
/// read. Raises what the component raises.
bool WriteHeapBody(const CSourceItem& source, const BodyLocator& locator,
                   const writer::CRef<writer::IMessageItem>& mail);

}  // namespace pastille::recovery
