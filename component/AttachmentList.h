#pragma once

#include <memory>

#include "component/ItemCore.h"
#include "writer/Component.h"

namespace pastille::component {

/// The attachments of an item, saved or not.
writer::CRef<writer::IAttachmentList> MakeAttachmentList(std::shared_ptr<CItemCore> item);

}  // namespace pastille::component
