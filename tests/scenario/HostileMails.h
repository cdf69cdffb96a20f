#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// A mail that is made so as to harm who reads it, and what of its store belongs to that.
struct Hostile {
    const char* name;
    void (*make)(StoreDescription& store, StoreMessage& victim);
    friend void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.name; }
};

std::vector<Hostile> HostileMails();

/// Data BIDs that a builder never hands out by itself: of a block in a tree, of two trees, of subnodes.
inline constexpr std::uint64_t kHostileData = 0x70000, kHostileTree = 0x70006, kOtherHostileTree = 0x7000A,
                               kHostileSubnodes = 0x7000E;

/// An attachment whose bytes are what a data tree of that BID gives.
StoreAttachment FromTree(std::uint64_t bid, const std::u16string& name = u"tree.bin");

/// Names of folders that a host would take for something else, or not at all.
const std::vector<std::u16string>& OddNames();

/// Most memory that the process ever held, in MB.
long PeakMemory();

}  // namespace pastille::tests
