#pragma once

#include <filesystem>
#include <optional>

class QWidget;

namespace pastille::app {

/// Lets the user choose a PST or OST file with the host's chooser, which begins in the folder of `near`.
/// Nothing when the user chooses none.
std::optional<std::filesystem::path> ChooseStore(QWidget* parent, const std::filesystem::path& near);

}  // namespace pastille::app
