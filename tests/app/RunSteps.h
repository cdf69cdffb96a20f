#pragma once

#include <functional>
#include <vector>

#include "tests/app/Desktop.h"

namespace pastille::tests {

/// Begins a repair as the wizard would, with the frame in front.
void BeginRepair(CDesktop& desktop, const std::filesystem::path& source,
                 const std::filesystem::path& destination);

/// What ends a repair of the example store with a box.
struct RunFault {
    const char* what;
    const char* caption;
    const char* text;  ///< of the box, or what it begins with
    std::function<void(CFaultyFileSystem&, const std::filesystem::path& source,
                       const std::filesystem::path& destination)>
        spoil;
    std::string sourceName = "copy.pst";
};

const std::vector<RunFault>& RunFaults();
/// The desktop must write to that file system.
void BeginRefusedRepair(CDesktop& desktop, CFaultyFileSystem& disk, const RunFault& fault);

}  // namespace pastille::tests
