// What became of each run of a task that was asked for: in `<runtime>/tasks.log`, one JSON object for each step, and
// put together for those who ask. Loop thread only.
//
// A step has "t" and "wall" (nanoseconds of the monotonic clock, milliseconds since 1970, as in the other logs),
// "step", "instance" and "task". Further members:
//   "requested"  "arguments", "commandLine", "account" (empty: LocalSystem), "requester" (a process)
//   "queued"     it waits for another instance
//   "started"    "pid", "session"
//   "ended"      "exitCode", "signal" where one ended it, "text"
//   "failed"     it did not start: "error" (a Win32 code or an HRESULT), "text"
// A run that was refused has "requested" and "failed".
#pragma once

#include <deque>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace machine {

class TaskRunLog {
 public:
  explicit TaskRunLog(std::string path) : path_(std::move(path)) {}

  // `details` is an object. A log that cannot be written is no reason not to run.
  void Add(const std::string& instance, const std::string& task, const char* step, const nlohmann::json& details);

  // One object for each of the last 1000 runs in the order in which they were asked for: all members of its steps, the
  // last of them as "state", and the time of each by its name, in milliseconds since 1970.
  nlohmann::json Report() const;

 private:
  void Write(const nlohmann::json& record) const;
  void Keep(const nlohmann::json& record);

  const std::string path_;
  std::deque<std::string> order_;
  std::map<std::string, nlohmann::json> runs_;  // by instance
};

}  // namespace machine
