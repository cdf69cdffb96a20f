#pragma once

namespace pastille::preview {

/// Whether the web engine can run here. It ends the whole process where it finds no sandbox for mails (as
/// root, in containers that allow none), no graphics or no program of its own; so this is asked before.
/// On the windows' thread.
bool CanRunBodyEngine();

}  // namespace pastille::preview
