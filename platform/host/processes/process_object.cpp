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

namespace {

constexpr DWORD kBySignal = 128;
// Milliseconds between two looks at a process without a descriptor.
constexpr int kLookInterval = 10;

// For poll: rounded up, so that the deadline has passed when it returns for nothing.
int MillisecondsUntil(const Deadline& deadline) {
  if (!deadline) return -1;
  const auto left = std::chrono::ceil<milliseconds>(BlockUntil(*deadline) - std::chrono::steady_clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

ProcessObject::ProcessObject(pid_t pid, std::uint64_t startTime, TokenFacts token, Origin origin)
    : pid_(pid), startTime_(startTime), token_(std::move(token)), origin_(origin) {
  if (pid_ < kFirstRowOnly) OpenDescriptor();
}

ProcessObject::~ProcessObject() {
  if (descriptor_ >= 0) close(descriptor_);
}

void ProcessObject::OpenDescriptor() {
  descriptor_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  over_ = descriptor_ < 0 && errno == ESRCH;
  // The number may have been given to another process before the descriptor was opened, not afterwards.
  const std::uint64_t found = ProcessStartTime(pid_);  // 0 also when there is no descriptor left to look with
  if (descriptor_ < 0 || found == 0 || found == startTime_) return;
  over_ = true;
  close(std::exchange(descriptor_, -1));
}

DWORD ProcessObject::Wait(const Deadline& deadline) {
  // The machine that goes down ends its programs first, so it is asked while it can still tell how they ended.
  if (!deadline && origin_ == Origin::kMachine) AskForEnd();
  return HasEndedBy(deadline) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

DWORD ProcessObject::ReadExitCode(DWORD* exitCode) {
  *exitCode = STILL_ACTIVE;
  if (exitCode_ < 0 && !HasEndedBy(MonotonicNow())) return ERROR_SUCCESS;
  if (exitCode_ < 0) {
    if (const DWORD error = AskForEnd()) return error == ERROR_INVALID_PARAMETER ? ERROR_NOT_SUPPORTED : error;
  }
  *exitCode = static_cast<DWORD>(exitCode_);
  return ERROR_SUCCESS;
}

bool ProcessObject::HasEndedBy(const Deadline& deadline) const {
  if (over_) return true;
  const bool lookedFor = descriptor_ < 0 && pid_ < kFirstRowOnly;
  pollfd watched{descriptor_, POLLIN, 0};
  for (;;) {
    if (lookedFor && kill(pid_, 0) != 0) return true;
    const int limit = MillisecondsUntil(deadline);
    const bool longer = lookedFor && (limit < 0 || limit > kLookInterval);
    if (poll(&watched, 1, longer ? kLookInterval : limit) > 0) return true;
    if (deadline && MonotonicNow() >= *deadline) return false;
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
