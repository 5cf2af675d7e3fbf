// The programs that were started: what became of each, and who waits for its end. Loop thread only.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <vector>

#include "machine/process_request.h"

namespace machine {

// Those that run, and the last 256 that have ended.
class ProcessHistory {
 public:
  struct Program;
  // Who waits for an end. One that has gone away itself is not kept.
  struct Waiter {
    std::function<void(const Program&)> done;
    std::function<bool()> isThere;
  };
  // One program. Its number is never used again; a process identifier with its start time is as good a name.
  struct Program {
    ProcessRequest request;
    pid_t pid = 0;
    std::uint64_t startTime = 0;
    std::optional<ProcessEnd> end;
    std::vector<Waiter> waiting;
  };

  void Add(std::uint64_t number, Program program);
  // It never ran after all.
  void Remove(std::uint64_t number);
  void End(std::uint64_t number, const ProcessEnd& end);

  // The number of the newest program with this process identifier; `startTime` 0: whenever it started.
  std::optional<std::uint64_t> Find(pid_t pid, std::uint64_t startTime) const;
  // Tells `waiter` when the program has ended, which may be at once. False when it is not known (any more).
  bool OnEnd(std::uint64_t number, Waiter waiter);

  // Oldest first.
  nlohmann::json Report() const;

 private:
  std::map<std::uint64_t, Program> programs_;
  std::deque<std::uint64_t> ended_;  // in the order of their ends
};

}  // namespace machine
