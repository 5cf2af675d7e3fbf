#include "machine/process_table.h"

#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "machine/descendants.h"
#include "machine/json_file.h"
#include "machine/kept_process.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/process_stat.h"

namespace machine {

using nlohmann::json;

std::string Describe(const ProcessEnd& end) {
  if (end.signalled) return "killed by signal " + std::to_string(end.value) + " (" + strsignal(end.value) + ")";
  return "exit status " + std::to_string(end.value);
}

DWORD ExitCode(const ProcessEnd& end) {
  constexpr int kBySignal = 128;
  return static_cast<DWORD>(end.signalled ? kBySignal + end.value : end.value);
}

ProcessTable::ProcessTable(Loop& loop, Settings settings) : loop_(loop), settings_(std::move(settings)) {}

ProcessTable::~ProcessTable() = default;

std::uint64_t ProcessTable::Launch(const ProcessRequest& request, Observer observer) {
  mkdir((settings_.runtimeFolder + "/processes").c_str(), 0700);
  PublishAdopter();
  const std::uint64_t number = nextNumber_++;
  const auto process = std::make_shared<KeptProcess>(*this, number, request, observer);
  if (process->Begin()) {
    processes_[process.get()] = process;
    return number;
  }
  const std::string reason = "cannot start the keeper " + settings_.keeperProgram + ": " + std::strerror(errno);
  loop_.Post([started = observer.started, reason] { started(ERROR_NOT_ENOUGH_MEMORY, reason); });
  return number;
}

bool ProcessTable::Terminate(pid_t pid) {
  for (const auto& [key, process] : processes_) {
    if (process->pid() != pid) continue;
    process->Terminate();
    return true;
  }
  return false;
}

void ProcessTable::TerminateAll(std::function<void()> done) {
  for (const auto& [key, process] : processes_) process->Terminate();
  if (processes_.empty()) {
    loop_.Post(std::move(done));
  } else {
    whenEmpty_.push_back(std::move(done));
  }
}

std::optional<Token> ProcessTable::TokenOf(pid_t pid) const {
  for (pid_t ancestor = pid; ancestor > 1; ancestor = host::ParentProcess(ancestor)) {
    for (const auto& [key, process] : processes_) {
      if (process->Covers(ancestor)) return process->token();
    }
  }
  return std::nullopt;
}

json ProcessTable::Rows() const {
  json rows = json::array();
  for (const auto& [key, process] : processes_) rows.push_back(process->Row());
  return rows;
}

// Before each keeper, as a boot takes the row away.
void ProcessTable::PublishAdopter() const {
  if (!settings_.adopts) return;
  const pid_t own = getpid();
  const json row = {{"pid", own}, {"startTime", host::ProcessStartTime(own)}, {"role", "machine"}};
  WriteJsonFile(settings_.runtimeFolder + "/processes/" + std::to_string(own), row, false, nullptr);
}

void ProcessTable::EndAdopted() const {
  if (!settings_.adopts) return;
  std::set<pid_t> keepers;
  for (const auto& [key, process] : processes_) keepers.insert(process->keeper());
  EndAllBut(keepers);
}

void ProcessTable::Remove(KeptProcess* process) {
  processes_.erase(process);
  if (!processes_.empty()) return;
  std::vector<std::function<void()>> actions;
  actions.swap(whenEmpty_);
  for (const auto& action : actions) action();
}

}  // namespace machine
