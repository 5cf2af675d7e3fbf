// What Ctrl-C (and a polite kill) does to the tool.
#pragma once

namespace tool {

// From now on an interrupt ends the process at once with kInterrupted. For commands with nothing to clean up.
void ExitOnInterrupt();

// From now on the first interrupt is only noted, for the command to see with Interrupted; a second one ends the
// process.
void NoteInterrupts();
bool Interrupted();

}  // namespace tool
