#pragma once

#include <filesystem>

namespace pastille::app {

/// Where the program's own files lie.
struct Installation {
    /// The folder with Lang/: <prefix>/share/pastille where that is there, else the one above the program's
    /// folder. Empty when the program's own path is not known.
    std::filesystem::path folder;
    /// The folder with the manual's pages: <prefix>/share/doc/pastille/manual, else docs/manual below
    /// `folder`.
    std::filesystem::path manual;
    /// True when the folder holds nothing but this program, which may keep its settings there: not for files
    /// that a package system has put among those of other programs.
    bool isOwn = false;
};

/// For a program file, which lies in <prefix>/bin or in a folder of a tree of its own.
Installation InstallationOf(const std::filesystem::path& program);

}  // namespace pastille::app
