#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "preview/GridItem.h"
#include "preview/GridRows.h"
#include "preview/PreviewStore.h"
#include "preview/UPDialog.h"

namespace pastille::preview {

/// Takes the items that were read since the last call, on the loader's thread.
using GridDelivery = std::function<void(CUPJob& job, std::vector<CGridItem> items)>;

/// How much a grid keeps, whatever a store says that there is.
struct GridLimits {
    std::size_t textUnits = 64u << 20;  ///< UTF-16 units of all its texts together
    std::size_t values = 8'000'000;     ///< names of items among them
};

/// The job that reads every item of a folder in store order and shows how far it is. An item that cannot be
/// read has empty rows. False when the folder cannot be opened, or when the job was cancelled: what was read
/// by then is delivered.
///
/// Of a text at most 32,768 units are read and kept. From half of all the text on that falls with what is
/// left, and where nothing is left names and values are empty. Items after the one that reaches the number of
/// values are not read; a last item without rows tells so.
CUPDialog::Job MakeGridLoader(GridFamily family, std::shared_ptr<CPreviewStore> store,
                              std::u16string folderKey, GridDelivery deliver, GridLimits limits = {});

}  // namespace pastille::preview
