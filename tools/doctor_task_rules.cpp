// The handler lists against the tasks that are registered.
#include <algorithm>

#include "tools/doctor_listings.h"
#include "tools/doctor_rules.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

// A path may begin with the root folder's backslash.
WideStringView BelowRoot(WideStringView path) {
  return path.starts_with(W('\\')) ? path.substr(1) : path;
}

const TaskFact* FindTask(const std::vector<TaskFact>& tasks, const WideString& path) {
  const auto found = std::find_if(tasks.begin(), tasks.end(), [&](const TaskFact& task) {
    return SameName(BelowRoot(ToWide(task.path)), BelowRoot(path));
  });
  return found == tasks.end() ? nullptr : &*found;
}

// One finding for each place where a task is listed of which `why` says something. Where `next` ends with a blank, the
// task's path goes behind it.
template <typename Why>
Findings FindByTask(const Snapshot& snapshot, Severity severity, const std::string& next, Why why) {
  Findings found;
  if (!snapshot.machine.tasks) return found;
  for (const Listing& listing : ReadListings(snapshot.registry)) {
    const TaskFact* task = FindTask(*snapshot.machine.tasks, listing.task);
    const std::string reason = task != nullptr ? why(*task) : std::string();
    if (reason.empty()) continue;
    const std::string what = next.ends_with(' ') ? next + ShellWord(task->path) : next;
    found.push_back({severity, listing.Where(), reason, what});
  }
  return found;
}

Findings SchedulerStopped(const Snapshot& snapshot) {
  if (snapshot.machine.schedulerRuns.value_or(true)) return {};
  return {{Severity::Error, {}, "the Task Scheduler is stopped: no task runs", "hkd04a7ctl task service start"}};
}

Findings TasksThatAreNot(const Snapshot& snapshot) {
  Findings found;
  if (!snapshot.machine.tasks) return found;
  for (const Listing& listing : ReadListings(snapshot.registry))
    if (!listing.task.empty() && FindTask(*snapshot.machine.tasks, listing.task) == nullptr)
      found.push_back({Severity::Error, listing.Where(),
                       "no task of this path is registered; each event looks for it twice in vain",
                       "hkd04a7ctl task list shows the tasks; " + DeleteCommand(listing.Where())});
  return found;
}

Findings DisabledTasks(const Snapshot& snapshot) {
  return FindByTask(snapshot, Severity::Error, "hkd04a7ctl task enable ", [](const TaskFact& task) {
    return std::string(task.enabled ? "" : "the task is disabled, so it does not run");
  });
}

Findings TasksNotOnDemand(const Snapshot& snapshot) {
  return FindByTask(
      snapshot, Severity::Error, "hkd04a7ctl task add --replace, without --not-on-demand", [](const TaskFact& task) {
        return std::string(task.allowDemandStart ? ""
                                                 : "the task may not be run on demand, which is how events run it");
      });
}

Findings TasksWithoutProgram(const Snapshot& snapshot) {
  return FindByTask(
      snapshot, Severity::Error, "hkd04a7ctl task add --replace, with a program that is there",
      [](const TaskFact& task) { return task.programExists ? "" : "its program is missing: " + task.program; });
}

Findings TasksThatDropEvents(const Snapshot& snapshot) {
  constexpr const char* kNext =
      "where each event counts: hkd04a7ctl task add --replace, with --instances queue or parallel";
  return FindByTask(snapshot, Severity::Warning, kNext, [](const TaskFact& task) -> std::string {
    if (task.instances == "ignore-new") return "events that come while the task still runs are dropped (ignore-new)";
    if (task.instances == "stop-existing") return "an event ends the run that is still going (stop-existing)";
    return "";
  });
}

Findings TasksOfAbsentUsers(const Snapshot& snapshot) {
  if (!snapshot.machine.users) return {};
  const std::vector<UserFact>& users = *snapshot.machine.users;
  return FindByTask(
      snapshot, Severity::Warning, "log that user on: hkd04a7ctl logon", [&](const TaskFact& task) -> std::string {
        const bool isThere = task.account.empty() || std::any_of(users.begin(), users.end(), [&](const UserFact& user) {
                               return user.loggedOn && SameName(ToWide(user.name), ToWide(task.account));
                             });
        return isThere ? "" : "it runs as " + task.account + ", who is not logged on: until then it does not run";
      });
}

constexpr Rule kTaskRules[] = {
    {"scheduler-stopped", SchedulerStopped},
    {"no-such-task", TasksThatAreNot},
    {"disabled-task", DisabledTasks},
    {"task-not-on-demand", TasksNotOnDemand},
    {"task-without-program", TasksWithoutProgram},
    {"task-drops-events", TasksThatDropEvents},
    {"task-of-absent-user", TasksOfAbsentUsers},
};

}  // namespace

std::span<const Rule> TaskRules() {
  return kTaskRules;
}

}  // namespace tool::doctor
