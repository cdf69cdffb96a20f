#pragma once

#include "format/Crypt.h"
#include "format/Layout.h"
#include "writer/ComError.h"

namespace pastille::cli {

/// How a run ended: to its end, by an error, or because the user asked it to.
enum class RunStatus { Done, Failed, Stopped };

// Names as the reports' JSON has them, in texts that live as long as the program.
// A failure that is neither of a full disk nor of writing is "component-error".
const char* StatusText(RunStatus status);
const char* ReasonText(writer::HRESULT failure);
const char* VariantText(format::Variant variant);
const char* CryptMethodText(format::CryptMethod method);

}  // namespace pastille::cli
