#include "app/ChooseStore.h"

#include <QFileDialog>

#include "app/HostPath.h"

namespace pastille::app {

std::optional<std::filesystem::path> ChooseStore(QWidget* parent, const std::filesystem::path& near)
{
    QFileDialog dialog(parent);
    dialog.setFileMode(QFileDialog::ExistingFile);
    // The patterns with brackets are for native dialogs that tell the cases apart.
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    dialog.setNameFilter(
        QStringLiteral("PST or OST (*.pst, *.ost) (*.pst *.ost *.[pP][sS][tT] *.[oO][sS][tT])"));
    dialog.setDefaultSuffix(QStringLiteral("pst"));
    const QString folder = ToText(near.parent_path());
    dialog.setDirectory(QFileInfo(folder).isDir() ? folder : QDir::homePath());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return ToPath(QDir::cleanPath(dialog.selectedFiles().first()));
}

}  // namespace pastille::app
