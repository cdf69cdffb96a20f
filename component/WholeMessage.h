#pragma once

#include <memory>
#include <utility>

#include "component/Guard.h"
#include "component/pst/messaging/PstStore.h"
#include "writer/WholeItems.h"

namespace pastille::component {

/// A message object for a folder, empty so far. Its store stays open as long as it or a part of it lives.
writer::CRef<writer::IWholeMessage> MakeWholeMessage(std::shared_ptr<pst::CPstStore> store,
                                                     pst::Folder& folder, bool isAssociated);

/// What SetProperty does with a value of either form. `set` takes the value when the store takes the
/// property, and returns whether it did.
template <class Content, class Set>
bool SetWholeProperty(pst::CPstStore& store, pst::ObjectKind kind, format::PropertyTag tag, Content&& content,
                      Set&& set)
{
    return Guarded<writer::IPropertyTarget>([&] {
        return store.TakesProperty(kind, tag) && set(store.MakeValue(tag, std::forward<Content>(content)));
    });
}

}  // namespace pastille::component
