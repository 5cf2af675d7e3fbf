// task: the tasks of the machine's Task Scheduler, and the events that run them.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>

#include "platform/host/base/text.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/program_path.h"
#include "tools/registry_commands.h"
#include "tools/report.h"
#include "tools/task_listings.h"
#include "tools/task_registration.h"
#include "tools/task_text.h"
#include "tools/text_check.h"

namespace tool {
namespace {

using nlohmann::json;

int CallScheduler(const Options& options, const std::string& tried, json message, json* reply) {
  constexpr std::chrono::seconds kTaskPatience{30};
  return CallMachine(options, {tried, "the Task Scheduler", "hkd04a7ctl task list", kTaskPatience}, message, reply);
}

void PrintObject(const json& object) {
  std::printf("%s\n", object.dump(-1, ' ', false, json::error_handler_t::replace).c_str());
}

// The events for which the registry lists the task.
json EventsOf(const std::vector<TaskListing>& listings, const std::string& path) {
  json events = json::array();
  for (const TaskListing& listing : listings)
    if (ListsTask(listing, host::ToUtf16(path)))
      events.push_back(json{{"key", host::ToUtf8(listing.key)}, {"view", listing.view32 ? 32 : 64}});
  return events;
}

void ShowTask(const Options& options, json task, const std::vector<TaskListing>& listings) {
  const auto path = task.at("path").get<std::string>();
  if (options.json) {
    task.erase("id");
    task["events"] = EventsOf(listings, path);
    return PrintObject(task);
  }
  std::printf("  %s\n", TaskText(task).c_str());
  for (const TaskListing& listing : listings)
    if (ListsTask(listing, host::ToUtf16(path))) std::printf("      for %s\n", ListingText(listing).c_str());
}

int ShowTasks(const Options& options, const json& tasks, const std::string& tried) {
  std::vector<TaskListing> listings;
  if (const LSTATUS status = ReadTaskListings(&listings)) return ReportRegistry(options, tried, status);
  for (const json& task : tasks) ShowTask(options, task, listings);
  return kDone;
}

int ListTasks(const Options& options) {
  json reply;
  const std::string tried = "list the tasks";
  if (int code = CallScheduler(options, tried, json{{"op", "task.list"}}, &reply); code != kDone) return code;
  return ShowTasks(options, reply.at("tasks"), tried);
}

// Gives `registration` its whole program path and registers it, then lists it for its event.
int AddTask(const Options& options, TaskRegistration registration) {
  const std::string tried = "register " + registration.path;
  const char* search = std::getenv("PATH");
  if (!registration.program.starts_with('/'))
    registration.program = FindProgram(registration.program, search != nullptr ? search : "/usr/bin:/bin");
  if (registration.program.empty()) return Report(options, kFailed, {tried, "there is no such program", 0, ""});
  json message = RegistrationMembers(registration);
  message["op"] = "task.add";
  json reply;
  if (int code = CallScheduler(options, tried, message, &reply); code != kDone) return code;
  for (const TaskListing& listing : ListingsOf(registration))
    if (const LSTATUS status = AddTaskListing(listing)) return ReportRegistry(options, tried, status);
  return ShowTasks(options, json::array({reply}), tried);
}

int RemoveTask(const Options& options, const std::string& path) {
  const std::string tried = "remove " + path;
  if (int code = CallScheduler(options, tried, json{{"op", "task.remove"}, {"path", path}}, nullptr); code != kDone)
    return code;
  std::vector<TaskListing> listings;
  if (const LSTATUS status = ReadTaskListings(&listings)) return ReportRegistry(options, tried, status);
  unsigned removed = 0;
  for (const TaskListing& listing : listings) {
    if (!ListsTask(listing, host::ToUtf16(path))) continue;
    if (const LSTATUS status = RemoveTaskListing(listing)) return ReportRegistry(options, tried, status);
    ++removed;
  }
  if (options.json)
    PrintObject(json{{"removed", path}, {"listings", removed}});
  else
    std::printf("removed, and from %u list%s of events\n", removed, removed == 1 ? "" : "s");
  return kDone;
}

int EnableTask(const Options& options, const std::string& path, bool enabled) {
  const std::string tried = (enabled ? "enable " : "disable ") + path;
  json reply;
  const json message = {{"op", "task.change"}, {"path", path}, {"enabled", enabled}};
  if (int code = CallScheduler(options, tried, message, &reply); code != kDone) return code;
  return ShowTasks(options, json::array({reply}), tried);
}

int RunTask(const Options& options, const std::string& path, const std::vector<std::string>& arguments) {
  json reply;
  const json message = {{"op", "task.run"}, {"path", path}, {"arguments", arguments}};
  if (int code = CallScheduler(options, "run " + path, message, &reply); code != kDone) return code;
  const auto instance = reply.at("instance").get<std::string>();
  if (options.json)
    PrintObject(json{{"instance", instance}});
  else
    std::printf("instance %s\n", instance.c_str());
  return kDone;
}

int SwitchScheduler(const Options& options, bool running) {
  const std::string tried = running ? "start the Task Scheduler" : "stop the Task Scheduler";
  return CallScheduler(options, tried, json{{"op", "task.service"}, {"running", running}}, nullptr);
}

// A command that takes the path of a task.
CLI::App* AddOnTask(CLI::App& group, Options& options, const char* name, const char* help,
                    std::function<int(const std::string&)> act) {
  CLI::App* command = group.add_subcommand(name, help);
  auto path = std::make_shared<std::string>();
  command->add_option("path", *path, "the task's path, as task list shows it")->required()->check(TextError);
  command->callback([&options, path, act] { options.action = [path, act] { return act(*path); }; });
  return command;
}

void AddService(CLI::App& group, Options& options) {
  CLI::App* service = group.add_subcommand("service", "the Task Scheduler itself; it runs after each boot");
  service->require_subcommand(1);
  service->add_subcommand("stop", "stop it: nothing can connect, what waits is dropped, runs go on")
      ->callback([&options] { options.action = [&options] { return SwitchScheduler(options, false); }; });
  service->add_subcommand("start", "start it; connections made before no longer do")->callback([&options] {
    options.action = [&options] { return SwitchScheduler(options, true); };
  });
}

}  // namespace

void AddTaskCommands(CLI::App& app, Options& options) {
  CLI::App* group = app.add_subcommand("task", "tasks of the Task Scheduler, and the events that run them");
  group->require_subcommand(1);
  AddTaskRegistration(*group, options, AddTask);
  AddOnTask(*group, options, "remove", "remove a task, and take it out of every event's list",
            [&options](const std::string& path) { return RemoveTask(options, path); });
  AddOnTask(*group, options, "enable", "let a task run",
            [&options](const std::string& path) { return EnableTask(options, path, true); });
  AddOnTask(*group, options, "disable", "refuse to run a task",
            [&options](const std::string& path) { return EnableTask(options, path, false); });
  auto arguments = std::make_shared<std::vector<std::string>>();
  AddOnTask(*group, options, "run", "run a task on demand, without waiting for it",
            [&options, arguments](const std::string& path) { return RunTask(options, path, *arguments); })
      ->add_option("arguments", *arguments, "what stands for $(Arg0), $(Arg1) ... in its action; at most 32")
      ->expected(0, -1)
      ->check(TextError);
  group->add_subcommand("list", "show the tasks, and for which events they are run")->callback([&options] {
    options.action = [&options] { return ListTasks(options); };
  });
  AddTaskRuns(*group, options);
  AddService(*group, options);
}

}  // namespace tool
