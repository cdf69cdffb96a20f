#include "writer/ComError.h"

#include <cstdio>
#include <utility>

namespace pastille::writer {

_com_error::_com_error(HRESULT error, const format::Guid& interfaceId, std::string description)
    : m_error(error), m_interfaceId(interfaceId), m_text(std::move(description))
{
    char code[32];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(error));
    m_text = m_text.empty() ? std::string("component error ") + code : m_text + " (" + code + ")";
}

}  // namespace pastille::writer
