#pragma once

#include <filesystem>
#include <string>

#include "tests/app/Desktop.h"

namespace pastille::tests {

/// Saves pictures of what stands in front, with its title above it.
class CCamera {
public:
    explicit CCamera(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    void Takes(const std::string& name);
    /// Of the box that has come or comes up, which is then answered.
    void TakesBox(const std::string& name, const QString& button = "OK");
    bool HasFailed() const { return m_failed; }

private:
    std::filesystem::path m_folder;
    bool m_failed = false;
};

/// The panes with a store of every kind of item.
void TakePreview(CDesktop& desktop, CPerson& person, CCamera& camera);

}  // namespace pastille::tests
