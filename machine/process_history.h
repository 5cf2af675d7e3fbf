// The programs that were started: what became of each, and who waits for its end. Loop thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <vector>

#include "machine/process_request.h"

namespace machine {

// The last 256 programs, and older ones that still run.
class ProcessHistory {
 public:
  // One program. Its number is never used again; a process identifier with its start time is as good a name.
  struct Program {
    ProcessRequest request;
    pid_t pid = 0;
    std::uint64_t startTime = 0;
    std::optional<ProcessEnd> end;
    std::vector<std::function<void(const Program&)>> waiting;
  };

  void Add(std::uint64_t number, Program program);
  // It never ran after all.
  void Remove(std::uint64_t number);
  void End(std::uint64_t number, const ProcessEnd& end);

  // The number of the newest program with this process identifier; `startTime` 0: whenever it started.
  std::optional<std::uint64_t> Find(pid_t pid, std::uint64_t startTime) const;
  // Calls `done` when the program has ended, which may be at once. False when it is not known (any more).
  bool OnEnd(std::uint64_t number, std::function<void(const Program&)> done);

  // Oldest first.
  nlohmann::json Report() const;

 private:
  void ForgetOldest();

  std::map<std::uint64_t, Program> programs_;
};

}  // namespace machine
