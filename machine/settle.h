// "machine.settle": answered when nothing is outstanding. Loop thread only.
//
// Nothing is outstanding when no control is on its way, no service is starting or stopping, every notification of the
// device has been handed to all who wait for them, no device call is being answered, no run of a task and no process in
// client mode goes on, and, for 30 milliseconds, there has been no notification, no device call, no debug line, no
// trace record and no news of tasks and app services, and every thread of the services slept whenever it was looked at.
// The last two tell that the service's worker has come to rest: it does none of these only while it waits for its next
// packet.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <string>

#include "machine/device.h"
#include "machine/loop.h"
#include "machine/op_registry.h"
#include "machine/service_manager.h"

namespace machine {

class Settle {
 public:
  // `followers` tells, for people, what events have started and still goes on; empty when there is nothing.
  Settle(Loop& loop, Device& device, const ServiceManager& services, std::function<std::string()> followers,
         std::string runtimeFolder)
      : loop_(loop),
        device_(device),
        services_(services),
        followers_(std::move(followers)),
        runtimeFolder_(std::move(runtimeFolder)) {}
  ~Settle() { loop_.Cancel(timer_); }
  Settle(const Settle&) = delete;
  Settle& operator=(const Settle&) = delete;

  // {"timeoutMs"}, by default 10,000; answers {"waitedMs"}, or 1460 with what is outstanding.
  void AddOperations(OpRegistry& operations);

 private:
  // What must stand still: notifications, calls, bytes of the logs.
  using Activity = std::array<std::uint64_t, 6>;

  struct Waiting {
    Clock::time_point begun;
    Clock::time_point deadline;
    Responder responder;
  };

  void Look();
  bool HasCalmedDown();
  Activity Observe(const DeviceCounts& counts) const;

  Loop& loop_;
  Device& device_;
  const ServiceManager& services_;
  const std::function<std::string()> followers_;
  const std::string runtimeFolder_;
  std::list<Waiting> waiting_;
  Loop::TimerId timer_ = 0;
  Activity last_ = {};
  Clock::time_point calmSince_;
  std::string outstanding_;
};

}  // namespace machine
