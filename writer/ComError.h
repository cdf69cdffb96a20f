#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "format/Guid.h"

namespace pastille::writer {

/// Result code of a component operation; negative values are failures.
using HRESULT = std::int32_t;

/// An object that the operation needs is not there.
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
/// Anything else; mostly, what was to be read is damaged.
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
/// An argument, or a value that the store cannot hold; nothing was changed.
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
/// Memory has run out.
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
/// MAPI_E_NOT_FOUND: no folder, profile or item of that name. [MS-OXCDATA] 2.4
inline constexpr HRESULT E_NOT_FOUND = static_cast<HRESULT>(0x8004010Fu);
/// The store cannot be changed: opened for reading, or closed.
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005u);
/// STG_E_MEDIUMFULL, STG_E_WRITEFAULT: the file below the store cannot be written. Every later writing
/// operation of that store fails the same way.
inline constexpr HRESULT E_MEDIUMFULL = static_cast<HRESULT>(0x80030070u);
inline constexpr HRESULT E_WRITEFAULT = static_cast<HRESULT>(0x8003001Du);

/// What every failing component operation raises: the result code and the interface that was called.
class _com_error : public std::exception {
public:
    _com_error(HRESULT error, const format::Guid& interfaceId, std::string description = {});

    HRESULT Error() const noexcept { return m_error; }
    const format::Guid& InterfaceId() const noexcept { return m_interfaceId; }
    /// True when the file below the store can no longer be written; the whole run must end then.
    bool IsStorageFailure() const noexcept { return m_error == E_MEDIUMFULL || m_error == E_WRITEFAULT; }
    const char* what() const noexcept override { return m_text.c_str(); }

private:
    HRESULT m_error;
    format::Guid m_interfaceId;
    std::string m_text;
};

}  // namespace pastille::writer
