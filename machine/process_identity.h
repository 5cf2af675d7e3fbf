// What names a process for good: its number together with its start time.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace machine {

// Clock ticks from the kernel's boot to the start of `pid`, or 0 when there is no such process.
std::uint64_t ProcessStartTime(pid_t pid);

// The parent of `pid`, or 0.
pid_t ParentProcess(pid_t pid);

}  // namespace machine
