#pragma once

#include <QString>

#include <filesystem>

#include "app/Host.h"

namespace pastille::app {

/// A page of the manual that comes with the program.
std::filesystem::path ManualPage(IHost& host, const char* name);

/// What the host opens for F1: the help file in the installation folder, else the manual's first page; empty
/// when neither is there.
std::filesystem::path HelpFile(IHost& host);

/// The address of a file or folder.
QString FileAddress(const std::filesystem::path& path);

}  // namespace pastille::app
