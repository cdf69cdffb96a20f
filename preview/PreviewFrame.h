#pragma once

#include <string>

#include "preview/GridView.h"

namespace pastille::preview {

/// What the folder tree asks of the window that holds the panes.
class IPreviewFrame {
public:
    virtual ~IPreviewFrame() = default;
    /// True while the item list reads its rows: no other folder can be chosen then.
    virtual bool IsListFilling() const = 0;
    /// Shows the items of the folder in the item list.
    virtual void ShowMails(const std::u16string& folderKey) = 0;
    /// Shows them in the property grid.
    virtual void ShowItems(GridFamily family, const std::u16string& folderKey) = 0;
};

}  // namespace pastille::preview
