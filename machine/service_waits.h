// Requests that wait for a service to have started or stopped. Loop thread only.
#pragma once

#include <list>
#include <optional>

#include "machine/loop.h"
#include "machine/op_registry.h"
#include "machine/service.h"

namespace machine {

class ServiceWaits {
 public:
  enum class Goal { kStarted, kStopped };

  explicit ServiceWaits(Loop& loop) : loop_(loop) {}
  ~ServiceWaits() { loop_.Cancel(timer_); }

  // Answers `responder` with the service's status once the goal is reached, or fails it: when a start ended in a
  // stopped service, when the service makes no progress (1053), or after `limit` (0: none; 1053 too).
  void Add(Service& service, Goal goal, std::chrono::milliseconds limit, Responder responder);

  // To be called after every change of the service.
  void Look(const Service& service);

  // The service goes: its waits are answered with `error`.
  void Abandon(const Service& service, DWORD error);

 private:
  struct Wait {
    const Service* service;
    Goal goal;
    std::uint64_t instance;
    std::optional<Clock::time_point> deadline;
    Responder responder;
  };

  static bool Settle(const Wait& wait);
  void LookAtAll();

  Loop& loop_;
  Loop::TimerId timer_ = 0;
  std::list<Wait> waits_;
};

}  // namespace machine
