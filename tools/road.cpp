#include "tools/road.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "platform/host/base/machine_directory.h"

namespace tool {
namespace {

using nlohmann::json;

std::int64_t LastOf(const std::vector<RoadEntry>& entries, Station station) {
  std::int64_t last = -1;
  for (const RoadEntry& entry : entries) {
    if (entry.station == station) last = std::max(last, entry.at);
  }
  return last;
}

}  // namespace

std::int64_t Road::TimeOf(Station target) const {
  const std::int64_t end = LastOf(entries, target);
  if (end < 0) return -1;
  std::int64_t begin = LastOf(entries, Station::Device);
  for (const Station earlier : kTargets) {
    if (earlier >= target) break;
    begin = std::max(begin, LastOf(entries, earlier));
  }
  return begin < 0 ? -1 : end - begin;
}

bool Road::IsInOrder() const {
  Station latest = Station::Device;
  for (const RoadEntry& entry : entries) {
    if (entry.station > Station::User) continue;
    if (entry.station < latest) return false;
    latest = entry.station;
  }
  return true;
}

RoadRecorder::RoadRecorder(machine::Device& device)
    : device_(device), firstNotification_(device.Counts().notificationsRaised) {
  const std::string folder = host::CurrentMachineDirectory().runtime + "/";
  const auto add = [&](const char* name, auto read) {
    sources_.push_back({std::make_unique<FileFollower>(folder + name), read});
    sources_.back().file->ReadNew();
  };
  add("trace.log", &ReadTraceRecord);
  add("journal.log", &ReadJournalRecord);
  add("tasks.log", &ReadTaskRecord);
  add("app_services.log", &ReadAppServiceRecord);
}

Road RoadRecorder::Collect() {
  Road road;
  for (const machine::NotificationTimes& notification : device_.Notifications(firstNotification_))
    road.entries.push_back({Station::Device, static_cast<std::int64_t>(notification.raisedAt), 0, "notification"});
  for (Source& source : sources_) {
    for (const std::string& line : source.file->ReadNew()) {
      const json record = json::parse(line, nullptr, false);
      for (RoadEntry& entry : source.read(record)) road.entries.push_back(std::move(entry));
    }
  }
  std::stable_sort(road.entries.begin(), road.entries.end(),
                   [](const RoadEntry& left, const RoadEntry& right) { return left.at < right.at; });
  return road;
}

}  // namespace tool
