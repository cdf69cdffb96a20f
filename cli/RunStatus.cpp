#include "cli/RunStatus.h"

namespace pastille::cli {

const char* StatusText(RunStatus status)
{
    switch (status) {
        case RunStatus::Done:
            return "done";
        case RunStatus::Stopped:
            return "stopped";
        case RunStatus::Failed:
            break;
    }
    return "failed";
}

const char* ReasonText(writer::HRESULT failure)
{
    switch (failure) {
        case writer::E_MEDIUMFULL:
            return "no-room";
        case writer::E_WRITEFAULT:
            return "write-error";
        default:
            return "component-error";
    }
}

const char* VariantText(format::Variant variant)
{
    switch (variant) {
        case format::Variant::Unicode:
            return "unicode";
        case format::Variant::Unicode4k:
            return "unicode-4k";
        case format::Variant::Ansi:
            break;
    }
    return "ansi";
}

const char* CryptMethodText(format::CryptMethod method)
{
    switch (method) {
        case format::CryptMethod::Permute:
            return "permute";
        case format::CryptMethod::Cyclic:
            return "cyclic";
        case format::CryptMethod::None:
            break;
    }
    return "none";
}

}  // namespace pastille::cli
