#include "tools/status_text.h"

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/identity_text.h"
#include "tools/rpc_text.h"
#include "tools/service_text.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr int kActive = 0;
constexpr int kConnected = 1;
constexpr int kStopPending = 3;

// "  name        value", the name only on the first line of its section.
class Sections {
 public:
  void Begin(const char* name) { name_ = name; }

  void Line(const std::string& value) {
    char head[24];
    std::snprintf(head, sizeof head, "\n  %-13s", name_);
    text_ += head + value;
    name_ = "";
  }

  std::string Text() && { return std::move(text_); }

 private:
  const char* name_ = "";
  std::string text_;
};

std::string NumberText(const json& object, const char* key) {
  return std::to_string(object.value(key, std::uint64_t{0}));
}

json Member(const json& object, const char* key) {
  return object.value(key, json::array());
}

std::string SessionState(int state) {
  if (state == kActive) return "active";
  return state == kConnected ? "connected" : "disconnected";
}

// What holds a stop or another control, if something does.
std::string PendingControlText(const json& service) {
  const json control = service.value("control", json());
  return control.is_object() ? "; its handler is working on control " + NumberText(control, "control") : "";
}

void AddServices(Sections& sections, const json& status) {
  sections.Begin("services");
  for (const json& service : Member(status, "services"))
    sections.Line(service.value("name", "") + "  " + ServiceStateText(service) + PendingControlText(service));
}

void AddSessions(Sections& sections, const json& status) {
  sections.Begin("sessions");
  const json sessions = status.value("sessions", json::object());
  for (const json& session : Member(sessions, "sessions")) {
    const std::string user = session.value("user", "");
    std::string line = NumberText(session, "id") + "  " + SessionState(session.value("state", -1)) +
                       (session.value("remote", false) ? ", remote" : "") + (user.empty() ? "" : ", " + user);
    if (session.value("id", std::uint64_t{0}) == sessions.value("console", std::uint64_t{0}))
      line += ", at the console";
    sections.Line(line);
  }
}

// As it was started; a program that has ended shows because of what it left running.
std::string ProgramText(const json& process) {
  std::string text = process.value("commandLine", "");
  if (text.empty()) {
    text = process.value("program", process.value("name", ""));
    for (const std::string& argument : process.value("arguments", std::vector<std::string>())) text += " " + argument;
  }
  return process.value("state", "") == "ended" ? text + ", ended" : text;
}

void AddProcesses(Sections& sections, const json& status) {
  sections.Begin("processes");
  for (const char* kind : {"processes", "sessionProcesses"})
    for (const json& process : Member(status, kind))
      sections.Line(NumberText(process, "pid") + "  " + ProgramText(process) + "  (" +
                    IdentityText(process.value("token", json::object()), Member(status, "users")) + ")");
}

void AddDevice(Sections& sections, const json& status) {
  sections.Begin("device");
  const json device = status.value("device", json::object());
  sections.Line(NumberText(device, "notificationsRaised") + " notifications raised, " +
                NumberText(device, "notificationsOutstanding") + " outstanding; " +
                NumberText(device, "callsAnswered") + " calls answered, " + NumberText(device, "callsInProgress") +
                " in progress; " + std::to_string(Member(device, "waiters").size()) + " waiting for notifications");
}

bool StopIsPending(const json& status, const json& pid) {
  for (const json& service : Member(status, "services"))
    if (service.value("pid", json()) == pid && service.value("state", 0) == kStopPending) return true;
  return false;
}

void AddRpcServers(Sections& sections, const json& status) {
  sections.Begin("rpc");
  for (const json& server : Member(status, "rpc"))
    sections.Line(RpcServerText(server, StopIsPending(status, server.value("pid", json()))));
}

void AddTasks(Sections& sections, const json& status) {
  if (!status.contains("tasks")) return;
  const json& tasks = status.at("tasks");
  sections.Begin("tasks");
  sections.Line(NumberText(tasks, "registered") + " registered, " + NumberText(tasks, "runsGoing") + " runs going, " +
                NumberText(tasks, "runsWaiting") + " waiting" +
                (tasks.value("running", true) ? "" : "; the Task Scheduler is stopped"));
}

std::string UserOf(const json& process, const json& status) {
  return IdentityText(process.value("token", process), Member(status, "users"));
}

void AddClientMode(Sections& sections, const json& status) {
  sections.Begin("client mode");
  for (const json& process : Member(status, "clientMode")) {
    const json event = process.value("event", json());
    const std::string what =
        "event " + (event.is_string() ? event.get<std::string>() : "?") + " for " + UserOf(process, status);
    const bool isThere = process.value("ageMs", json()).is_number();
    sections.Line(isThere ? NumberText(process, "pid") + "  " + what + ", " + NumberText(process, "ageMs") + " ms old"
                          : what + ", being started");
  }
}

void AddAppServices(Sections& sections, const json& status) {
  sections.Begin("app services");
  for (const json& service : Member(status, "appServices"))
    sections.Line(NumberText(service, "pid") + "  " + service.value("package", "") + " " +
                  service.value("service", "") + " for " + UserOf(service, status) +
                  (service.value("listening", false) ? "" : ", not listening yet") +
                  (service.value("refuses", false) ? ", refuses connections" : ""));
}

void AddRest(Sections& sections, const json& status) {
  sections.Begin("endpoints");
  for (const json& endpoint : Member(status, "endpoints"))
    sections.Line(endpoint.value("binding", "") + "  " + endpoint.value("uuid", "") + " v" +
                  endpoint.value("version", "") + ", process " + NumberText(endpoint, "pid"));
  sections.Begin("events");
  for (const json& event : Member(status, "events"))
    sections.Line(event.value("name", "") + (event.value("signalled", false) ? "  signalled" : "  not signalled"));
}

}  // namespace

std::string StatusText(const json& status) {
  Sections sections;
  AddServices(sections, status);
  AddSessions(sections, status);
  AddProcesses(sections, status);
  AddDevice(sections, status);
  AddRpcServers(sections, status);
  AddTasks(sections, status);
  AddClientMode(sections, status);
  AddAppServices(sections, status);
  AddRest(sections, status);
  return "machine at " + status.value("runtime", "") + ", process " + NumberText(status, "pid") + ", up " +
         std::to_string(status.value("uptimeMs", std::uint64_t{0}) / 1000) + " s" +
         (status.value("suspended", false) ? ", suspended" : "") + std::move(sections).Text();
}

}  // namespace tool
