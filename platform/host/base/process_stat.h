// What the kernel's stat file tells of a process or of one of its threads.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

struct ProcessStat {
  char state = 0;  // 'R' running, 'D' waiting for a disk, 'S' sleeping, 'Z' ended and not yet waited for, ...
  pid_t parent = 0;
  std::uint64_t startTime = 0;  // clock ticks from the kernel's boot; with the number it names a process for good
};

// Reads one line of a stat file; none when it is not one.
std::optional<ProcessStat> ParseProcessStat(std::string_view line);

// None when there is no such process (any more).
std::optional<ProcessStat> ReadProcessStat(pid_t pid);
// The same for a stat file by its path: "/proc/12/task/13/stat".
std::optional<ProcessStat> ReadStatFile(const std::string& path);

// The two members that are most asked for; 0 when there is no such process.
std::uint64_t ProcessStartTime(pid_t pid);
pid_t ParentProcess(pid_t pid);

}  // namespace host
