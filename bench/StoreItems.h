#pragma once

#include <cstddef>

#include "tests/support/StoreMails.h"

namespace pastille::bench {

enum class ItemKind { Mails, Contacts, Appointments, Tasks };

/// What the items of a store are and carry.
struct ItemOptions {
    ItemKind kind = ItemKind::Mails;
    std::size_t attachments = 0;  ///< on each item
    std::size_t attachmentBytes = 50'000;
    std::size_t bodyBytes = 0;  ///< of a body in a subnode, in place of the ordinary one; 0: that one
};

tests::ItemMaker MakerOf(const ItemOptions& options);

}  // namespace pastille::bench
