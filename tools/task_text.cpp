#include "tools/task_text.h"

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "client/code_names.h"
#include "tools/event_text.h"
#include "tools/printable.h"

namespace tool {
namespace {

using nlohmann::json;

std::string TextOf(const json& object, const char* member) {
  return Printable(object.value(member, std::string()));
}

std::string AccountText(const json& object) {
  const std::string account = TextOf(object, "account");
  return account.empty() ? "LocalSystem" : account;
}

std::string PidText(const json& object, const char* member) {
  return "process " + std::to_string(object.value(member, std::int64_t{0}));
}

std::string EndText(const json& run) {
  return run.contains("exitCode") && !run.contains("signal") ? "exit code " + run.at("exitCode").dump()
                                                             : TextOf(run, "text");
}

std::string FailureText(const json& run) {
  return "did not start: " + TextOf(run, "text") + ", " + client::DescribeCode(run.value("error", 0u));
}

std::string RunStateText(const json& run) {
  const std::string state = run.value("state", run.value("step", std::string()));
  if (state == "ended") return EndText(run);
  if (state == "failed") return FailureText(run);
  if (state == "started") return "runs, " + PidText(run, "pid");
  return state == "queued" ? "waits for another instance" : "is asked for";
}

}  // namespace

std::string TaskText(const json& task) {
  const std::string arguments = TextOf(task, "arguments");
  const std::string directory = TextOf(task, "directory");
  return TextOf(task, "path") + "  " + TextOf(task, "program") + (arguments.empty() ? "" : " " + arguments) + "  (" +
         AccountText(task) + ", " + TextOf(task, "instances") + (directory.empty() ? "" : ", in " + directory) +
         (task.value("enabled", true) ? "" : ", disabled") +
         (task.value("allowDemandStart", true) ? "" : ", not on demand") + ")";
}

std::string RunText(const json& run) {
  return WallClock(run.value("requested", std::int64_t{0})) + "  " + TextOf(run, "task") + "  " +
         TextOf(run, "commandLine") + "  (" + AccountText(run) + ", for " + PidText(run, "requester") + ")  " +
         RunStateText(run);
}

std::string RunStepText(const json& record) {
  const std::string begin = WallClock(record.value("wall", std::int64_t{0})) + "  " + TextOf(record, "task") + "  " +
                            TextOf(record, "instance") + "  ";
  if (record.value("step", std::string()) != "requested") return begin + RunStateText(record);
  return begin + TextOf(record, "commandLine") + "  (" + AccountText(record) + ", for " + PidText(record, "requester") +
         ")";
}

}  // namespace tool
