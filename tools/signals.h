// What Ctrl-C (and a polite kill) does to the tool.
#pragma once

#include <chrono>

namespace tool {

// For how long an interrupt may go unseen by a command that waits.
inline constexpr std::chrono::milliseconds kInterruptLatency{100};

// From now on an interrupt ends the process at once with kInterrupted. For commands with nothing to clean up.
void ExitOnInterrupt();

// From now on the first interrupt is only noted, for the command to see with Interrupted; a second one ends the
// process.
void NoteInterrupts();

// The same, and neither a second one nor a closed terminal or output ends the process. For commands that must clean up
// and never wait without limit.
void NoteEveryInterrupt();

bool Interrupted();

}  // namespace tool
