#include "format/Fault.h"

#include <cinttypes>
#include <cstdio>

namespace pastille::format {

std::string Describe(const Fault& fault)
{
    char text[200];
    std::snprintf(text, sizeof text, "%s %s 0x%" PRIX64 " at 0x%" PRIX64, fault.structure, fault.field,
                  fault.value, fault.offset);
    return text;
}

}  // namespace pastille::format
