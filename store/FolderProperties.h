#pragma once

#include <optional>
#include <string>

#include "store/BlockReader.h"

namespace pastille::platform {
class CCodePage;
}

namespace pastille::store {

/// What a folder's property context tells.
struct FolderProperties {
    std::u16string name;            ///< may be empty
    std::u16string containerClass;  ///< may be empty
};

/// Reads a node's first data block as a folder's property context: one with a display name and without a
/// message class. Nothing when it is no folder or is damaged.
std::optional<FolderProperties> ReadFolderProperties(CBlockReader& reader, const BlockRecord& block,
                                                     const platform::CCodePage& codePage);

}  // namespace pastille::store
