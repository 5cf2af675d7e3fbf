#include "tools/task_registration.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/text.h"
#include "tools/numbers.h"
#include "tools/text_check.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr std::uint32_t kLastEvent = 42;

CLI::Validator EventNumber() {
  return CLI::Validator(
      [](std::string& text) {
        if (std::string error = WordError(text); !error.empty()) return error;
        const std::uint32_t event = *ParseWord(text);
        return event == 0 || event > kLastEvent ? "there are events 1 to 42, not " + text : std::string();
      },
      "");
}

// A task that is to be listed must have a path that the service reads whole.
CLI::Validator TaskPath() {
  return CLI::Validator(
      [](std::string& text) {
        if (std::string error = TextError(text); !error.empty()) return error;
        return host::ToUtf16(text).size() >= kTaskNameRoom ? "longer than 199 characters" : std::string();
      },
      "");
}

void AddSettings(CLI::App& add, TaskRegistration* task) {
  add.add_option("--user", task->account, "run it as this user, who must be logged on then; default: LocalSystem")
      ->check([](const std::string& name) { return name.empty() ? "it is empty" : TextError(name); });
  add.add_option("--directory", task->directory, "the folder to begin in, as a whole path")->check(TextError);
  add.add_option("--instances", task->instances, "what a request means while it runs already; default: ignore-new")
      ->check(CLI::IsMember({"parallel", "queue", "ignore-new", "stop-existing"}));
  add.add_flag("--disabled", task->disabled, "it is not to run for now");
  add.add_flag("--not-on-demand", task->notOnDemand, "it may not be run on demand, which is how events run it");
  add.add_flag("--replace", task->replace, "in place of a task of this path");
}

void AddEventOptions(CLI::App& add, TaskRegistration* task) {
  CLI::Option* event = AddWord(add, "--for", &task->event, "list it for this event")->check(EventNumber());
  AddWord(add, "--data1", &task->data1, "for occurrences with this first data word only")->needs(event);
  add.add_option("--view", task->view, "the registry view to list it in; 64 unless given")
      ->check(CLI::IsMember({"64", "32", "both"}))
      ->needs(event);
}

}  // namespace

json RegistrationMembers(const TaskRegistration& registration) {
  return json{{"path", registration.path},
              {"program", registration.program},
              {"arguments", registration.arguments},
              {"directory", registration.directory},
              {"account", registration.account},
              {"enabled", !registration.disabled},
              {"allowDemandStart", !registration.notOnDemand},
              {"instances", registration.instances},
              {"replace", registration.replace}};
}

std::vector<TaskListing> ListingsOf(const TaskRegistration& registration) {
  std::vector<TaskListing> listings;
  if (!registration.hasEvent) return listings;
  const auto data1 = registration.hasData1 ? std::optional(registration.data1) : std::nullopt;
  const WideString key = TaskListKey(registration.event, data1);
  const WideString path = host::ToUtf16(registration.path);
  if (registration.view != "32") listings.push_back({false, key, path});
  if (registration.view != "64") listings.push_back({true, key, path});
  return listings;
}

void AddTaskRegistration(CLI::App& group, Options& options,
                         std::function<int(const Options&, const TaskRegistration&)> act) {
  CLI::App* add = group.add_subcommand("add", "register a task, and list it for an event");
  auto task = std::make_shared<TaskRegistration>();
  add->add_option("path", task->path, "\"Name\", or \"Folder\\Name\"")->required()->check(TaskPath());
  add->add_option("program", task->program, "what it runs: a whole path, or a name along PATH")
      ->required()
      ->check(TextError);
  add->add_option("arguments", task->arguments,
                  "one text as on a command line, after -- if it begins with a dash; $(Arg0), $(Arg1), $(Arg2) stand "
                  "for the event and its data words")
      ->check(TextError);
  AddSettings(*add, task.get());
  AddEventOptions(*add, task.get());
  add->callback([&options, add, task, act] {
    task->hasEvent = add->count("--for") > 0;
    task->hasData1 = add->count("--data1") > 0;
    options.action = [&options, task, act] { return act(options, *task); };
  });
}

}  // namespace tool
