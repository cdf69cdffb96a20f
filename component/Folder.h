#pragma once

#include <memory>

#include "component/pst/messaging/PstStore.h"
#include "writer/Component.h"

namespace pastille::component {

/// A folder object; its store stays open as long as it lives. A folder just made has IFolderSettings too.
writer::CRef<writer::IStoreFolder> MakeFolder(std::shared_ptr<pst::CPstStore> store, pst::Folder& folder);

/// A store object.
writer::CRef<writer::IMessageStore> MakeStore(std::shared_ptr<pst::CPstStore> store);

}  // namespace pastille::component
