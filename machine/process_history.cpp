#include "machine/process_history.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace machine {

using nlohmann::json;

namespace {

constexpr std::size_t kEndedKept = 256;

json Row(std::uint64_t number, const ProcessHistory::Program& program) {
  const auto waiting = std::count_if(program.waiting.begin(), program.waiting.end(),
                                     [](const auto& waiter) { return waiter.isThere(); });
  json row = {{"number", number},
              {"pid", program.pid},
              {"program", program.request.program},
              {"arguments", program.request.arguments},
              {"commandLine", program.request.commandLine},
              {"token", ToJson(program.request.token)},
              {"belowNormal", program.request.belowNormal},
              {"requester", program.request.requester},
              {"waiting", waiting}};
  if (program.end) row["exitCode"] = ExitCode(*program.end);
  if (program.end && program.end->signalled) row["signal"] = program.end->value;
  return row;
}

}  // namespace

void ProcessHistory::Add(std::uint64_t number, Program program) {
  programs_.emplace(number, std::move(program));
}

void ProcessHistory::Remove(std::uint64_t number) {
  programs_.erase(number);
}

void ProcessHistory::End(std::uint64_t number, const ProcessEnd& end) {
  const auto found = programs_.find(number);
  if (found == programs_.end()) return;
  found->second.end = end;
  const auto waiting = std::exchange(found->second.waiting, {});
  for (const Waiter& waiter : waiting) waiter.done(found->second);
  ended_.push_back(number);
  if (ended_.size() <= kEndedKept) return;
  programs_.erase(ended_.front());
  ended_.pop_front();
}

std::optional<std::uint64_t> ProcessHistory::Find(pid_t pid, std::uint64_t startTime) const {
  const auto found = std::find_if(programs_.rbegin(), programs_.rend(), [&](const auto& entry) {
    return entry.second.pid == pid && (startTime == 0 || entry.second.startTime == startTime);
  });
  if (found == programs_.rend()) return std::nullopt;
  return found->first;
}

bool ProcessHistory::OnEnd(std::uint64_t number, Waiter waiter) {
  const auto found = programs_.find(number);
  if (found == programs_.end()) return false;
  Program& program = found->second;
  if (program.end) {
    waiter.done(program);
    return true;
  }
  std::erase_if(program.waiting, [](const Waiter& earlier) { return !earlier.isThere(); });
  program.waiting.push_back(std::move(waiter));
  return true;
}

json ProcessHistory::Report() const {
  json report = json::array();
  for (const auto& [number, program] : programs_) report.push_back(Row(number, program));
  return report;
}

}  // namespace machine
