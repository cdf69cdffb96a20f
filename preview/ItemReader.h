#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "preview/ItemModel.h"
#include "preview/Job.h"
#include "preview/PreviewStore.h"

namespace pastille::preview {

/// Reads the rows of a folder in store order. To be run as a job: `found` and `complete` are called on the
/// windows' thread. An item that cannot be read has an empty row, so that those after it keep their numbers;
/// a folder that cannot be read has none.
struct ItemReading {
    std::shared_ptr<CPreviewStore> store;
    std::u16string folderKey;
    std::function<void(std::vector<CItemRow>)> found;  ///< any number of times
    std::function<void()> complete;
};
void ReadItems(const ItemReading& reading, IJobOwner& owner);

}  // namespace pastille::preview
