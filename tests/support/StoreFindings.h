#pragma once

#include <set>
#include <string>

#include "check/Finding.h"
#include "platform/FileSystem.h"

namespace pastille::tests {

/// What the checker says of a store.
class CStoreFindings final : public check::IFindings {
public:
    void Add(const check::Rule& rule, std::string place, std::string detail) override;

    std::set<std::string> codes;  ///< of errors; of warnings with a "?" behind; "(no store)" when it is none
    std::string text;             ///< a line for each finding, up to some KB
    std::string errors;           ///< the same, of errors alone
};

/// All of it.
CStoreFindings CheckedStore(platform::IByteSource& store);
/// The errors in a node database, whatever its nodes hold; "" when it is sound.
std::string DatabaseErrors(platform::IByteSource& store);

}  // namespace pastille::tests
