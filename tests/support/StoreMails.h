#pragma once

#include <cstdint>
#include <filesystem>

#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

enum class ItemKind { Mails, Contacts, Appointments, Tasks };

/// A store of ordinary items, mails of about 7 KB each, as large as wanted. The same options give the same
/// bytes.
struct MailStoreOptions {
    StoreFormat format{};
    ItemKind kind = ItemKind::Mails;
    std::uint64_t mails = 0;        ///< number of items; 0: as many as fit `fileBytes`
    std::uint64_t fileBytes = 0;    ///< about this large
    std::uint64_t spreadBytes = 0;  ///< spread them over so much of the file, with holes between
    std::uint32_t folders = 12;
    std::uint32_t seed = 1;
    std::size_t attachments = 0;  ///< on each item
    std::size_t attachmentBytes = 50'000;
    std::size_t bodyBytes = 0;  ///< of a body in a subnode, in place of the ordinary one; 0: that one
};

struct MailStoreFigures {
    std::uint64_t mails = 0;
    StoreDirectory directory;  ///< pages only unless the format keeps everything
};

/// Writes the store to `file`, which must be empty, holding no more than one folder's table rows in memory.
MailStoreFigures WriteMailStore(const MailStoreOptions& options, platform::IFile& file);

/// Makes a store that is recognised at once and takes long to scan: a hole follows its pages.
std::filesystem::path MakeLongStore(const std::filesystem::path& path,
                                    std::uint64_t bytes = std::uint64_t{16} << 30);

}  // namespace pastille::tests
