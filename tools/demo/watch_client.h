// One `watch --json` process of the demo, and what it has printed so far.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/child_process.h"

namespace tool {

struct SeenEvent {
  std::uint32_t id;
  std::uint32_t data1;
  std::uint32_t data2;
  std::int64_t arrived;  // CLOCK_MONOTONIC, nanoseconds, taken by the client itself
};

class WatchClient {
 public:
  explicit WatchClient(std::string name) : name_(std::move(name)) {}

  // Starts the process. Returns 0 or an errno value.
  int Start();

  // Reads what the process prints until `enough` holds, `patience` is over or its output ends. Whether it holds.
  bool AwaitSubscribed(std::chrono::milliseconds patience);
  bool AwaitEvents(std::size_t count, std::chrono::milliseconds patience);

  // Reads to the end and answers the exit status; nothing after `patience`.
  std::optional<int> AwaitEnd(std::chrono::milliseconds patience);

  const std::string& Name() const { return name_; }
  const std::vector<SeenEvent>& Events() const { return events_; }
  // "the service is stopping, 0x800704C7 (...)"; empty before the end.
  const std::string& EndReason() const { return endReason_; }
  pid_t Pid() const { return process_.Pid(); }

 private:
  template <typename Enough>
  bool ReadUntil(Enough enough, std::chrono::milliseconds patience);
  bool ReadSome(std::chrono::milliseconds patience);
  void TakeLine(const std::string& line);

  const std::string name_;
  ChildProcess process_;
  std::string rest_;
  bool closed_ = false;
  bool subscribed_ = false;
  std::vector<SeenEvent> events_;
  std::string endReason_;
};

}  // namespace tool
