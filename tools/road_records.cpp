#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/road.h"

namespace tool {
namespace {

using nlohmann::json;

// The event that every fan-out begins with; the writers of single kinds come after it has returned.
constexpr const char* kFanOutBegins = "WriteHkd04a7Event";
constexpr const char* kClientModeSwitch = " -appservice ";

std::int64_t TimeIn(const json& record, const char* member = "t") {
  return record.value(member, std::int64_t{0});
}

std::string TriplePart(const json& argument) {
  char text[24];
  std::snprintf(text, sizeof text, " 0x%08llX", static_cast<unsigned long long>(argument.get<std::uint64_t>()));
  return argument.get<std::uint64_t>() < 1024 ? " " + argument.dump() : text;
}

// A record of a later version or a half-written one is no station.
template <typename Read>
std::vector<RoadEntry> ReadSoundly(const json& record, Read read) {
  if (!record.is_object()) return {};
  try {
    return read();
  } catch (const json::exception&) {
    return {};
  }
}

}  // namespace

std::vector<RoadEntry> ReadTraceRecord(const json& record) {
  return ReadSoundly(record, [&]() -> std::vector<RoadEntry> {
    const std::string event = record.at("event");
    std::string what = event;
    for (const json& argument : record.at("args")) what += TriplePart(argument);
    const Station station = event == kFanOutBegins ? Station::Trace : Station::Done;
    return {{station, TimeIn(record), 0, what}};
  });
}

std::vector<RoadEntry> ReadJournalRecord(const json& record) {
  return ReadSoundly(record, [&]() -> std::vector<RoadEntry> {
    const std::string target = record.at("target");
    const std::string what = record.at("what");
    const std::int64_t took = TimeIn(record, "took");
    if (target == "rpc") return {{Station::Rpc, TimeIn(record), took, what}};
    if (target == "task") return {{Station::Tasks, TimeIn(record), took, what}};
    if (target == "process" && what.find(kClientModeSwitch) != std::string::npos)
      return {{Station::User, TimeIn(record), took, "started " + what.substr(what.find(kClientModeSwitch) + 1)}};
    return {};
  });
}

std::vector<RoadEntry> ReadTaskRecord(const json& record) {
  return ReadSoundly(record, [&]() -> std::vector<RoadEntry> {
    const std::string step = record.at("step");
    if (step == "requested") return {};
    std::string what = record.at("task").get<std::string>() + " " + step;
    if (record.contains("text")) what += ": " + record.at("text").get<std::string>();
    return {{Station::TaskRun, TimeIn(record), 0, what}};
  });
}

std::vector<RoadEntry> ReadAppServiceRecord(const json& record) {
  return ReadSoundly(record, [&]() -> std::vector<RoadEntry> {
    const std::string name = record.at("package").get<std::string>() + "!" + record.at("service").get<std::string>();
    return {{Station::AppService, TimeIn(record), 0, name + " " + record.at("what").get<std::string>()}};
  });
}

const char* StationName(Station station) {
  constexpr const char* kNames[] = {"device", "trace", "RPC", "tasks", "user", "task run", "app service", "worker"};
  return kNames[static_cast<int>(station)];
}

}  // namespace tool
