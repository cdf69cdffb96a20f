#pragma once

#include "format/Header.h"
#include "platform/FileSystem.h"

namespace pastille::component::pst {

/// Writes the header of a Unicode store and waits until it is on the disk.
void WriteHeaderTo(platform::IFile& file, const format::FileHeader& header);

/// True when the file is a Unicode store whose header says that its allocation maps are not valid.
bool IsInterrupted(platform::IByteSource& source);

/// Completes a Unicode store whose writer was interrupted: cuts the file where its header says that it ends,
/// writes the allocation maps anew from what the trees name, and marks them valid. What is complete already
/// is not touched. False when there is nothing to complete: no sound header, or maps that are valid. Raises
/// CFormatError when the store is damaged, std::system_error when the file fails. Memory: 8 bytes per block.
/// [MS-PST] 2.6.1.3.7
bool CompleteStore(platform::IFile& file);

}  // namespace pastille::component::pst
