#pragma once

#include <string_view>

#include "component/pst/messaging/PstStore.h"

namespace pastille::component {

/// The folder at the names behind the store's name in a folder path: "" is `start` itself, else each name
/// follows a backslash. Names may hold backslashes themselves: of the folders that a path can mean, the one
/// with the longest name at the first difference is found. Null when there is none.
pst::Folder* FindFolderBelow(pst::CPstStore& store, pst::Folder& start, std::u16string_view names);

}  // namespace pastille::component
