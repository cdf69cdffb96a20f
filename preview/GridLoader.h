#pragma once

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

/// The job that reads every item of a folder in store order and shows how far it is. An item that cannot be
/// read has empty rows. False when the folder cannot be opened, or when the job was cancelled: what was read
/// by then is delivered.
CUPDialog::Job MakeGridLoader(GridFamily family, std::shared_ptr<CPreviewStore> store,
                              std::u16string folderKey, GridDelivery deliver);

}  // namespace pastille::preview
