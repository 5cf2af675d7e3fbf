#include "tools/service_text.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "client/code_names.h"
#include "tools/event_text.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr const char* kStates[] = {"stopped",          "start pending", "stop pending", "running",
                                   "continue pending", "pause pending", "paused"};
constexpr std::uint32_t kStoppedState = 1;

struct NamedNumber {
  std::uint32_t number;
  const char* name;
};

constexpr NamedNumber kControls[] = {
    {1, "stop"}, {4, "interrogate"}, {5, "shutdown"}, {13, "power event"}, {14, "session change"}};
constexpr NamedNumber kPowerEvents[] = {
    {4, "suspend"}, {6, "resume critical"}, {7, "resume suspend"}, {18, "resume automatic"}};
constexpr NamedNumber kSessionEvents[] = {{1, "console connect"},
                                          {2, "console disconnect"},
                                          {3, "remote connect"},
                                          {4, "remote disconnect"},
                                          {5, "logon"},
                                          {6, "logoff"},
                                          {7, "lock"},
                                          {8, "unlock"}};
constexpr NamedNumber kStartTypes[] = {{2, "automatic"}, {3, "demand"}, {4, "disabled"}};

template <std::size_t kCount>
std::string Name(const NamedNumber (&names)[kCount], std::uint32_t number) {
  for (const NamedNumber& named : names)
    if (named.number == number) return named.name;
  return std::to_string(number);
}

std::uint32_t Number(const json& object, const char* key) {
  return object.value(key, std::uint32_t{0});
}

// 0 needs no explanation.
std::string CodeText(std::uint32_t code) {
  return code == 0 ? "0" : client::DescribeCode(code);
}

std::string ExitText(const json& status) {
  std::string text = ", exit code " + CodeText(Number(status, "win32ExitCode"));
  const std::uint32_t specific = Number(status, "serviceSpecificExitCode");
  if (specific != 0) text += ", service code " + std::to_string(specific);
  return text;
}

// A report of the service: its state, with what belongs to that state.
std::string ReportText(const json& entry) {
  const std::uint32_t state = Number(entry, "state");
  std::string text = StateName(state);
  if (state == kStoppedState) return text + ExitText(entry);
  if (const std::uint32_t checkPoint = Number(entry, "checkPoint"); checkPoint != 0)
    text += ", checkpoint " + std::to_string(checkPoint);
  return text;
}

std::string ControlText(const json& entry) {
  const std::uint32_t control = Number(entry, "control");
  const std::uint32_t type = Number(entry, "eventType");
  std::string text = Name(kControls, control);
  if (control == 13) text += ": " + Name(kPowerEvents, type);
  if (control == 14)
    text += ": " + Name(kSessionEvents, type) + ", session " + std::to_string(Number(entry, "session"));
  return text + ", answered " + CodeText(Number(entry, "result"));
}

std::string EntryText(const std::string& kind, const json& entry) {
  if (kind == "state") return ReportText(entry);
  if (kind == "control") return ControlText(entry);
  if (kind == "configured") return Name(kStartTypes, Number(entry, "startType")) + " start";
  std::string text = entry.value("text", "");
  if (kind == "start") return "asked for";
  if (entry.contains("pid")) text += (text.empty() ? "process " : ", process ") + std::to_string(Number(entry, "pid"));
  if (kind == "start-failed") text += ", " + client::DescribeCode(Number(entry, "error"));
  return text;
}

}  // namespace

std::string StateName(std::uint32_t state) {
  if (state >= 1 && state <= std::size(kStates)) return kStates[state - 1];
  return "state " + std::to_string(state);
}

std::string ServiceStateText(const json& service) {
  const std::uint32_t state = Number(service, "state");
  std::string text = StateName(state);
  if (Number(service, "pid") != 0) text += ", process " + std::to_string(Number(service, "pid"));
  if (service.value("endedUnexpectedly", false)) return text + ", " + service.value("lastError", "");
  if (state == kStoppedState) text += ExitText(service);
  const std::string error = service.value("lastError", "");
  return error.empty() ? text : text + "; " + error;
}

std::string ServiceText(const json& service) {
  std::string command = service.value("program", "");
  for (const json& argument : service.value("arguments", json::array())) command += ' ' + argument.get<std::string>();
  return service.value("name", "") + "\n  state      " + ServiceStateText(service) + "\n  start      " +
         Name(kStartTypes, Number(service, "startType")) + "\n  program    " + command;
}

std::string HistoryLine(const json& entry) {
  const std::string kind = entry.value("kind", "");
  char text[64];
  std::snprintf(text, sizeof text, "%s  %-18s ", WallClock(entry.value("wall", std::int64_t{0})).c_str(), kind.c_str());
  return text + EntryText(kind, entry);
}

}  // namespace tool
