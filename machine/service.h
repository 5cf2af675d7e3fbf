// One service: its configuration, its present instance (a process), what it reported, and the controls on their way to
// it. Loop thread only.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "machine/connection.h"
#include "machine/loop.h"
#include "machine/service_history.h"
#include "machine/service_store.h"
#include "platform/host/base/types.h"

namespace machine {

enum ServiceState : DWORD { kStopped = 1, kStartPending = 2, kStopPending = 3, kRunning = 4 };

// What a service reports of itself; times in milliseconds.
struct ServiceStatus {
  DWORD state = kStopped;
  DWORD controlsAccepted = 0;
  DWORD win32ExitCode = 0;
  DWORD serviceSpecificExitCode = 0;
  DWORD checkPoint = 0;
  DWORD waitHint = 0;
};

nlohmann::json ToJson(const ServiceStatus& status);
// Throws json's exception when a member is missing or no number.
ServiceStatus ReadStatus(const nlohmann::json& value);

// A control on its way to a service.
struct ServiceControl {
  // The handler's answer, or the code of the refusal. `delivered` tells whether the handler was called.
  // Called once; a handler that takes too long counts as answered with 1053.
  using Done = std::function<void(DWORD result, bool delivered)>;

  DWORD control = 0;
  DWORD eventType = 0;
  DWORD session = 0;  // of a session change
  Done done;
};

class Service {
 public:
  Service(Loop& loop, std::string serviceName) : name(std::move(serviceName)), loop_(loop) {}
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  const std::string name;
  ServiceStatus status;
  ServiceHistory history;

  // The latest start, as a number that the machine uses once; its process while there is one (0: none), or that of the
  // start before while it has not gone; the connection of its dispatcher.
  std::uint64_t instance = 0;
  pid_t pid = 0;
  std::uint64_t processInstance = 0;  // the start that `pid` belongs to
  Loop::TimerId startTimer = 0;
  bool insideMachine = false;  // runs in the machine's own process, by a test's launcher
  std::weak_ptr<Connection> dispatcher;
  bool endedUnexpectedly = false;
  bool markedForDelete = false;
  std::string lastError;  // for people; empty after a sound start
  Clock::time_point lastReport;
  std::vector<std::string> startArguments;

  // Sends `control` when the ones before it are answered. Whether the service takes it is looked at then.
  void QueueControl(ServiceControl control);

  // The dispatcher's answer to the control on its way. False when there is none with this number.
  bool AnswerControl(std::uint64_t number, DWORD result);

  // Answers every control on its way or queued with `code`: the process has gone.
  void FailControls(DWORD code);

  bool idle() const { return !current_ && queue_.empty(); }
  // The control that the handler is working on, or null.
  nlohmann::json CurrentControl() const;

 private:
  struct Current {
    ServiceControl control;
    std::uint64_t number = 0;
    Clock::time_point sent;
    Loop::TimerId timer = 0;
  };

  void SendNext();
  void Send(ServiceControl control);
  void HandleTimeout();

  Loop& loop_;
  std::deque<ServiceControl> queue_;
  std::unique_ptr<Current> current_;
  std::uint64_t nextNumber_ = 1;
};

// 0 when a service in `status` is sent `control`, else why not: 1052, 1061 or 1062.
DWORD Refusal(const ServiceStatus& status, DWORD control);

}  // namespace machine
