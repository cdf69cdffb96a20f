#pragma once

#include <string>
#include <vector>

#include "tests/support/WholeStore.h"

namespace pastille::tests {

enum class WholeKind { Folder, Message, Recipient, Attachment };

/// True for what a store says of its own of such an object, so that a copy in another store says something
/// else: row ids and versions, entry ids and record keys, sizes and counts, and what follows from the
/// object's parts. Folders leave out their name too, which their path tells.
bool IsStoresOwn(WholeKind kind, std::uint16_t id);

/// What is in one of two stores and not in the other, a line each, for people: items that are missing, extra,
/// there twice, in another folder or different; folders. Items have no ids that two stores share, so that
/// those of a folder are matched by all they hold; what finds no match is told beside what resembles it most.
///
/// Looks over what IsStoresOwn names, the attachment bit of PidTagMessageFlags, what every message must have
/// (class, flags, times, search key) or attachment (method, rendering position) when only `copy` has it, and
/// folders without items that only `copy` has, or only `source` beside its IPM subtree.
std::vector<std::string> Differences(const WholeStore& source, const WholeStore& copy);

/// The lines, one below the other, and how many more there are than a person reads.
std::string Joined(const std::vector<std::string>& lines);

}  // namespace pastille::tests
