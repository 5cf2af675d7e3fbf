#include "platform/host/processes/process_object.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/kernel/sync.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/processes/processes.h"

namespace host {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

constexpr DWORD kBySignal = 128;

// A descriptor of just that process, or -1 when it has ended.
int OpenDescriptor(pid_t pid, std::uint64_t startTime) {
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  // The number may have been given to another process before the descriptor was opened, not afterwards.
  if (descriptor < 0 || ProcessStartTime(pid) == startTime) return descriptor;
  close(descriptor);
  return -1;
}

// For poll: rounded up, so that the deadline has passed when it returns for nothing.
int MillisecondsUntil(const Deadline& deadline) {
  if (!deadline) return -1;
  const auto left = std::chrono::ceil<milliseconds>(*deadline - steady_clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

ProcessObject::ProcessObject(pid_t pid, std::uint64_t startTime, TokenFacts token, Origin origin)
    : pid_(pid), startTime_(startTime), token_(std::move(token)), origin_(origin) {
  if (pid_ < kFirstRowOnly) descriptor_ = OpenDescriptor(pid_, startTime_);
}

ProcessObject::~ProcessObject() {
  if (descriptor_ >= 0) close(descriptor_);
}

DWORD ProcessObject::Wait(const Deadline& deadline) {
  // The machine that goes down ends its programs first, so it is asked while it can still tell how they ended.
  if (!deadline && origin_ == Origin::kMachine) AskForEnd();
  return HasEndedBy(deadline) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

DWORD ProcessObject::ReadExitCode(DWORD* exitCode) {
  *exitCode = STILL_ACTIVE;
  if (exitCode_ < 0 && !HasEndedBy(steady_clock::now())) return ERROR_SUCCESS;
  if (exitCode_ < 0) {
    if (const DWORD error = AskForEnd()) return error == ERROR_INVALID_PARAMETER ? ERROR_NOT_SUPPORTED : error;
  }
  *exitCode = static_cast<DWORD>(exitCode_);
  return ERROR_SUCCESS;
}

bool ProcessObject::HasEndedBy(const Deadline& deadline) const {
  const bool real = pid_ < kFirstRowOnly;
  if (real && descriptor_ < 0) return true;
  pollfd watched{descriptor_, POLLIN, 0};
  for (;;) {
    const int ready = poll(&watched, real ? 1 : 0, MillisecondsUntil(deadline));
    if (ready > 0) return true;
    if (ready == 0 && deadline && steady_clock::now() >= *deadline) return false;
    if (ready < 0 && errno != EINTR) return false;
  }
}

// Waits for the daemon's word on how the process ended.
DWORD ProcessObject::AskForEnd() {
  json reply;
  const json request = {{"op", "process.wait"}, {"pid", pid_}, {"startTime", startTime_}};
  const DWORD error = MachineLink::Instance().Call(request, &reply);
  if (error == ERROR_SUCCESS) {
    exitCode_ = reply.value("exitCode", 0u);
  } else if (error == ERROR_SERVICE_NOT_ACTIVE && origin_ == Origin::kMachine) {
    exitCode_ = kBySignal + SIGKILL;  // nothing outlives a daemon that can't be asked
    return ERROR_SUCCESS;
  }
  return error;
}

}  // namespace host
