#include "machine/task_run_log.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <nlohmann/json.hpp>

#include "machine/unique_descriptor.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::size_t kRunsKept = 1000;

std::int64_t NowOf(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

void TaskRunLog::Add(const std::string& instance, const std::string& task, const char* step, const json& details) {
  json record = {{"t", NowOf(CLOCK_MONOTONIC)},
                 {"wall", NowOf(CLOCK_REALTIME) / 1'000'000},
                 {"step", step},
                 {"instance", instance},
                 {"task", task}};
  record.update(details);
  Write(record);
  Keep(record);
}

json TaskRunLog::Report() const {
  json report = json::array();
  for (const std::string& instance : order_) report.push_back(runs_.at(instance));
  return report;
}

// Opened for each record, as a boot may clear the file away; one write, so that it is appended whole.
void TaskRunLog::Write(const json& record) const {
  const UniqueDescriptor file(open(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
  const std::string line = record.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
  if (file.valid()) static_cast<void>(!write(file.get(), line.data(), line.size()));
}

void TaskRunLog::Keep(const json& record) {
  const auto& instance = record.at("instance").get_ref<const std::string&>();
  const auto& step = record.at("step").get_ref<const std::string&>();
  if (!runs_.contains(instance)) {
    if (step != "requested") return;  // no longer kept
    order_.push_back(instance);
  }
  json& run = runs_[instance];
  run.update(record);
  run.erase("t");
  run.erase("wall");
  run.erase("step");
  run["state"] = step;
  run[step] = record.at("wall");
  if (order_.size() <= kRunsKept) return;
  runs_.erase(order_.front());
  order_.pop_front();
}

}  // namespace machine
