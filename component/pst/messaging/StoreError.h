#pragma once

#include <exception>

namespace pastille::component::pst {

/// Why an operation on a store was refused. Failures of the file below are std::system_error instead.
enum class Refusal {
    ReadOnly,  ///< the store was opened for reading
    Exists,    ///< there is a folder, file or profile of that name
    NotFound,  ///< no such folder, file or profile
    TooLarge,  ///< more bytes or names than the format can describe
    NotLoggedOn,
    BadArgument,
};

class CStoreError : public std::exception {
public:
    explicit CStoreError(Refusal reason) : m_reason(reason) {}
    Refusal Reason() const noexcept { return m_reason; }
    const char* what() const noexcept override { return "operation refused by the store"; }

private:
    Refusal m_reason;
};

}  // namespace pastille::component::pst
