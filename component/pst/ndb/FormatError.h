#pragma once

#include <stdexcept>

#include "format/Fault.h"

namespace pastille::component::pst {

/// A store, or a part of it, that breaks the file format. Raised by everything here that reads strictly.
class CFormatError : public std::runtime_error {
public:
    explicit CFormatError(const format::Fault& fault)
        : std::runtime_error(format::Describe(fault)), m_fault(fault)
    {
    }
    const format::Fault& GetFault() const { return m_fault; }

private:
    format::Fault m_fault;
};

/// The value of a result; raises CFormatError when it is a fault.
template <class T>
T Require(format::Result<T> result)
{
    if (!result)
        throw CFormatError(result.GetFault());
    return std::move(*result);
}

}  // namespace pastille::component::pst
