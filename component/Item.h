#pragma once

#include <memory>

#include "component/ItemCore.h"
#include "writer/Component.h"

namespace pastille::component {

/// What all item objects of the component are besides their interface.
class IItemObject {
public:
    virtual ~IItemObject() = default;
    virtual CItemCore& Core() = 0;
};

/// An item object of the interface that its message class asks for.
std::shared_ptr<writer::IMessageItem> MakeItem(std::shared_ptr<CItemCore> core);

}  // namespace pastille::component
