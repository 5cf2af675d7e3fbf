#include "machine/event_followers.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <vector>

namespace machine {

using nlohmann::json;

namespace {

// `startTime` in clock ticks from the kernel's boot; null when the program is not there yet.
json AgeMs(std::uint64_t startTime) {
  if (startTime == 0) return nullptr;
  timespec now = {};
  clock_gettime(CLOCK_BOOTTIME, &now);
  const auto nowMs = static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
  return std::max<std::int64_t>(nowMs - static_cast<std::int64_t>(startTime) * 1000 / sysconf(_SC_CLK_TCK), 0);
}

json ValueAfter(const std::vector<std::string>& arguments, const char* name) {
  const auto found = std::find(arguments.begin(), arguments.end(), name);
  return found == arguments.end() || std::next(found) == arguments.end() ? json() : json(*std::next(found));
}

std::string UserName(const json& sid, const json& users) {
  for (const json& user : users)
    if (user.value("sid", json()) == sid) return user.value("user", "");
  return sid.get<std::string>();
}

std::string ClientModeText(const json& process, const json& users) {
  const json& age = process.at("ageMs");
  const json& event = process.at("event");
  return "the client mode of event " + (event.is_string() ? event.get<std::string>() : "?") + " for " +
         UserName(process.at("token").at("userSid"), users) +
         (age.is_null() ? " is being started"
                        : ", process " + process.at("pid").dump() + ", runs for " + age.dump() + " ms");
}

}  // namespace

json ClientModeProcesses(const json& programs) {
  json found = json::array();
  for (const json& program : programs) {
    const auto arguments = program.at("arguments").get<std::vector<std::string>>();
    const bool inClientMode = std::find(arguments.begin(), arguments.end(), "-appservice") != arguments.end();
    if (!inClientMode || program.at("state") != "running") continue;
    json row = program;
    for (const char* name : {"event", "data1", "data2"})
      row[name] = ValueAfter(arguments, ("-" + std::string(name)).c_str());
    row["ageMs"] = AgeMs(program.at("startTime").get<std::uint64_t>());
    found.push_back(std::move(row));
  }
  return found;
}

std::string FollowersText(const json& clientMode, const json& tasks, const json& users) {
  std::string text;
  const auto add = [&text](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
  for (const json& process : clientMode) add(ClientModeText(process, users));
  const auto runs = tasks.at("runsGoing").get<std::uint64_t>() + tasks.at("runsWaiting").get<std::uint64_t>();
  if (runs != 0) add("runs of tasks: " + std::to_string(runs));
  return text;
}

}  // namespace machine
