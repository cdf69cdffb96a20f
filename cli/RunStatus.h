#pragma once

#include "format/Crypt.h"
#include "format/Layout.h"
#include "writer/ComError.h"

namespace pastille::cli {

enum class RunStatus { Done, Failed, Stopped };

// Names as the reports' JSON has them.
const char* StatusText(RunStatus status);
const char* ReasonText(writer::HRESULT failure);
const char* VariantText(format::Variant variant);
const char* CryptMethodText(format::CryptMethod method);

}  // namespace pastille::cli
