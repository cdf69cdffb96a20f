#include "component/Guard.h"

#include <cerrno>

namespace pastille::component {
namespace {

bool IsQuota(const std::error_code& code)
{
#ifdef EDQUOT
    return code.value() == EDQUOT &&
           (code.category() == std::generic_category() || code.category() == std::system_category());
#else
    return static_cast<void>(code), false;
#endif
}

}  // namespace

writer::HRESULT ResultOf(pst::Refusal reason)
{
    using pst::Refusal;
    switch (reason) {
        case Refusal::ReadOnly:
            return writer::E_ACCESSDENIED;
        case Refusal::Exists:
            return kCollision;
        case Refusal::NotFound:
            return writer::E_NOT_FOUND;
        case Refusal::BadArgument:
            return writer::E_INVALIDARG;
        case Refusal::TooLarge:
            return writer::E_INVALIDARG;
        case Refusal::NotLoggedOn:
            break;
    }
    return writer::E_FAIL;
}

writer::HRESULT ResultOf(const std::error_code& code)
{
    const bool full =
        code == std::errc::no_space_on_device || code == std::errc::file_too_large || IsQuota(code);
    return full ? writer::E_MEDIUMFULL : writer::E_WRITEFAULT;
}

}  // namespace pastille::component
