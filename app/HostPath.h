#pragma once

#include <QString>

#include <filesystem>

namespace pastille::app {

/// The path that a text stands for.
std::filesystem::path ToPath(const QString& text);

/// The text for a path, from which ToPath makes it again. For what the toolkit asks of paths, not for eyes.
QString ToText(const std::filesystem::path& path);

/// A path as windows show it, on one line: bytes that are no UTF-8, controls, and characters that turn the
/// direction of writing become U+FFFD. For eyes only; what is opened is the path.
QString ShownPath(const std::filesystem::path& path);

}  // namespace pastille::app
