#include "machine/settle.h"

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "platform/host/base/error_codes.h"

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
  if (activity != last_ || !outstanding_.empty()) calmSince_ = Clock::now();
  last_ = activity;
  const bool calm = Clock::now() - calmSince_ >= kCalm;
  if (!calm && outstanding_.empty()) outstanding_ = "device calls, debug lines or trace records go on";
  return calm;
}

Settle::Activity Settle::Observe(const DeviceCounts& counts) const {
  return {counts.notificationsRaised, counts.callsAnswered, FileSize(runtimeFolder_ + "/debug.log"),
          FileSize(runtimeFolder_ + "/trace.log")};
}

}  // namespace machine
