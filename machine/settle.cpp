#include "machine/settle.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/process_stat.h"

namespace machine {

using nlohmann::json;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kCalm{30};
constexpr milliseconds kLookInterval{5};
constexpr int kDefaultTimeoutMs = 10'000;

std::uint64_t FileSize(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

// Whether a thread of the process other than the asking one runs, is about to, or waits for a disk. A worker that was
// woken but has not had a processor yet has left no other trace.
bool HasBusyThread(pid_t pid) {
  std::error_code error;
  const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
  for (const auto& task : std::filesystem::directory_iterator(tasks, error)) {
    if (task.path().filename() == std::to_string(gettid())) continue;
    const auto thread = host::ReadStatFile(task.path() / "stat");
    if (thread && (thread->state == 'R' || thread->state == 'D')) return true;
  }
  return false;
}

bool HasBusyThread(const json& services) {
  return std::any_of(services.begin(), services.end(), [](const json& service) {
    const auto pid = service.value("pid", pid_t{0});
    return pid != 0 && HasBusyThread(pid);
  });
}

}  // namespace

void Settle::AddOperations(OpRegistry& operations) {
  operations.Add("machine.settle", [this](const Request& request) {
    const Clock::time_point now = Clock::now();
    const milliseconds limit{request.body.value("timeoutMs", kDefaultTimeoutMs)};
    waiting_.push_back({now, now + limit, request.responder});
    if (timer_ != 0) return;
    calmSince_ = now;
    last_ = Observe(device_.Counts());
    timer_ = loop_.After(kLookInterval, [this] { Look(); });
  });
}

void Settle::Look() {
  timer_ = 0;
  const bool calm = HasCalmedDown();
  const Clock::time_point now = Clock::now();
  waiting_.remove_if([&](const Waiting& waiting) {
    // Whoever asked a moment ago wants the calm after the question.
    if (calm && now - waiting.begun >= kCalm) {
      const auto waited = std::chrono::duration_cast<milliseconds>(now - waiting.begun);
      waiting.responder.Reply(json{{"waitedMs", waited.count()}});
      return true;
    }
    if (now < waiting.deadline) return false;
    waiting.responder.Fail(ERROR_TIMEOUT, "still outstanding: " + outstanding_);
    return true;
  });
  if (!waiting_.empty()) timer_ = loop_.After(kLookInterval, [this] { Look(); });
}

bool Settle::HasCalmedDown() {
  const DeviceCounts counts = device_.Counts();
  const Activity activity = Observe(counts);
  outstanding_.clear();
  if (!services_.Settled()) outstanding_ = "a control or a change of a service's state";
  if (counts.notificationsOutstanding != 0) outstanding_ = "device notifications";
  if (counts.callsInProgress != 0) outstanding_ = "a device call";
  if (HasBusyThread(services_.Report())) outstanding_ = "a thread of a service is running";
  if (std::string followers = followers_(); !followers.empty()) outstanding_ = std::move(followers);
  if (activity != last_ || !outstanding_.empty()) calmSince_ = Clock::now();
  last_ = activity;
  const bool calm = Clock::now() - calmSince_ >= kCalm;
  if (!calm && outstanding_.empty())
    outstanding_ = "device calls, debug lines, trace records or news of tasks and app services go on";
  return calm;
}

Settle::Activity Settle::Observe(const DeviceCounts& counts) const {
  return {counts.notificationsRaised,
          counts.callsAnswered,
          FileSize(runtimeFolder_ + "/debug.log"),
          FileSize(runtimeFolder_ + "/trace.log"),
          FileSize(runtimeFolder_ + "/tasks.log"),
          FileSize(runtimeFolder_ + "/app_services.log")};
}

}  // namespace machine
