#pragma once

#include <vector>

#include "tests/support/StoreBuilder.h"

namespace pastille::tests {

/// What is wrong with a store: a mail of it, what is written beside it, or what befalls the file.
struct HostileStore {
    const char* name;
    void (*make)(StoreDescription& store, StoreMessage& victim);
    void (*damage)(CStoreDamage& damage, const CBuiltStore& store) = DoNothing;

    static void DoNothing(CStoreDamage&, const CBuiltStore&) {}
};

/// Node ids in the store that becomes hostile: two folders, the mail that is made so as to harm, and another
/// one beside it.
inline constexpr std::uint32_t kInbox = 0x9002, kOther = 0x9022;
inline constexpr std::uint32_t kVictim = 0x300004, kBystander = 0x300024;

/// All but those whose mail alone is hostile.
std::vector<HostileStore> HostileStores();

}  // namespace pastille::tests
