#pragma once

#include <memory>
#include <utility>

#include "writer/ComError.h"

namespace pastille::writer {

/// A counted reference to a component object that clears itself. Calling through an empty one raises
/// _com_error with E_POINTER and the interface's identifier.
template <class Interface>
class CRef {
public:
    CRef() = default;
    CRef(std::nullptr_t) {}  // NOLINT: an empty reference
    explicit CRef(std::shared_ptr<Interface> object) : m_object(std::move(object)) {}
    template <class Derived>
    requires std::is_convertible_v<Derived*, Interface*> CRef(const CRef<Derived>& other)
        : m_object(other.Shared())  // NOLINT: up the interface tree
    {
    }

    Interface* operator->() const
    {
        if (!m_object)
            throw _com_error(E_POINTER, Interface::kInterfaceId);
        return m_object.get();
    }
    Interface& operator*() const { return *operator->(); }
    explicit operator bool() const { return m_object != nullptr; }
    void Release() { m_object.reset(); }
    const std::shared_ptr<Interface>& Shared() const { return m_object; }
    friend bool operator==(const CRef&, const CRef&) = default;

private:
    std::shared_ptr<Interface> m_object;
};

/// Asks an object for another of its interfaces. Empty when it does not have it, or when the object is empty.
template <class Wanted, class Given>
CRef<Wanted> QueryInterface(const CRef<Given>& object)
{
    return CRef<Wanted>(std::dynamic_pointer_cast<Wanted>(object.Shared()));
}

}  // namespace pastille::writer
