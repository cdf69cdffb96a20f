#include "tests/app/RunSteps.h"

#include "app/MainFrame.h"

namespace pastille::tests {
namespace {

using std::filesystem::path;

constexpr const char* kNoSpace =
    "Not enough free disk space available to save repaired .pst file.\n"
    "Please start the process again by selecting another destination path.";
constexpr const char* kNoFolder =
    "Unable to create folder to save recovered .pst file.\n"
    "Please select another location to save recovered .pst file.";

/// Removes the output folder in the middle of the run; the tables need it for a file of their own before.
void TakeOutputAway(CFaultyFileSystem& disk, const path&, const path& to)
{
    disk.faults.onChange = [to, hasTables = false](const FileChange& change) mutable {
        hasTables = hasTables || change.path.filename() == "FirstTableItem.dat";
        if (hasTables && change.kind == FileChange::Kind::Write && change.path.extension() == ".pst")
            std::filesystem::remove_all(to / "copy Recovered");
    };
}

}  // namespace

void BeginRepair(CDesktop& desktop, const path& source, const path& destination)
{
    CPerson::BeginOnUi([&desktop, source, destination] {
        desktop.App().Choices().SetSource(source);
        desktop.App().Choices().settings.destinationFolder = destination;
        desktop.App().MainFrame()->StartRepair();
    });
}

const std::vector<RunFault>& RunFaults()
{
    static const std::vector<RunFault> faults = {
        {"source-missing", "Error",
         "Source file could not open.Make sure that another application is not using. ",
         [](auto&, const path& source, const path&) { std::filesystem::remove(source); }},
        {"source-invalid", "Error", "Pst/Ost file is not valid.",
         [](auto&, const path& source, const path&) { std::filesystem::resize_file(source, 0); }},
        {"output-folder-exists", "Error", kNoFolder,
         [](auto&, const path&, const path& to) {
             std::filesystem::create_directory(to / "copy Recovered");
         }},
        {"name-too-long", "Error", kNoFolder, [](auto&, const path&, const path&) {},
         std::string(250, 'n') + ".pst"},
        {"destination-missing", "Error", kNoFolder,
         [](auto&, const path&, const path& to) { std::filesystem::remove(to); }},
        {"no-disk-space", "Information", kNoSpace,
         [](auto&, const path& source, const path& to) {
             std::filesystem::resize_file(source, std::filesystem::space(to).available + (2 << 20));
         }},
        {"disk-full", "Error", "There is no room left for the new .pst file.",
         [](CFaultyFileSystem& disk, const path&, const path&) { disk.faults.diskBytes = 60'000; }},
        {"output-taken-away", "Error", "The new store is no longer at its place: ", TakeOutputAway},
    };
    return faults;
}

void BeginRefusedRepair(CDesktop& desktop, CFaultyFileSystem& disk, const RunFault& fault)
{
    const path source = desktop.Folder() / fault.sourceName;
    const path to = desktop.MakeFolder("to");
    std::filesystem::copy_file(ExampleStore(), source);
    fault.spoil(disk, source, to);
    BeginRepair(desktop, source, to);
}

}  // namespace pastille::tests
