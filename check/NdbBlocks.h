#pragma once

#include <vector>

#include "check/NdbFile.h"

namespace pastille::check {

/// Checks the place, the trailer and the bytes of every block and sets isPlaced and isSound. Reads the file
/// front to back, once. [MS-PST] 2.2.2.8.1
void CheckBlocks(const NdbFile& file, CBlockTable& blocks);

/// Turns the stored bytes of a block into its contents. False when they do not inflate to what its entry
/// says.
bool UnpackBlock(const NdbFile& file, const BlockRecord& block, std::vector<std::byte>& stored);

}  // namespace pastille::check
