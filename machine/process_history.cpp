#include "machine/process_history.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

namespace machine {

using nlohmann::json;

namespace {

constexpr std::size_t kKept = 256;

json Row(std::uint64_t number, const ProcessHistory::Program& program) {
  json row = {{"number", number},
              {"pid", program.pid},
              {"program", program.request.program},
              {"arguments", program.request.arguments},
              {"commandLine", program.request.commandLine},
              {"token", ToJson(program.request.token)},
              {"requester", program.request.requester},
              {"waiting", program.waiting.size()}};
  if (program.end) row["exitCode"] = ExitCode(*program.end);
  if (program.end && program.end->signalled) row["signal"] = program.end->value;
  return row;
}

}  // namespace

void ProcessHistory::Add(std::uint64_t number, Program program) {
  programs_.emplace(number, std::move(program));
  ForgetOldest();
}

void ProcessHistory::Remove(std::uint64_t number) {
  programs_.erase(number);
}

void ProcessHistory::End(std::uint64_t number, const ProcessEnd& end) {
  const auto found = programs_.find(number);
  if (found == programs_.end()) return;
  found->second.end = end;
  const auto waiting = std::exchange(found->second.waiting, {});
  for (const auto& done : waiting) done(found->second);
  ForgetOldest();
}

std::optional<std::uint64_t> ProcessHistory::Find(pid_t pid, std::uint64_t startTime) const {
  const auto found = std::find_if(programs_.rbegin(), programs_.rend(), [&](const auto& entry) {
    return entry.second.pid == pid && (startTime == 0 || entry.second.startTime == startTime);
  });
  if (found == programs_.rend()) return std::nullopt;
  return found->first;
}

bool ProcessHistory::OnEnd(std::uint64_t number, std::function<void(const Program&)> done) {
  const auto found = programs_.find(number);
  if (found == programs_.end()) return false;
  if (found->second.end) {
    done(found->second);
  } else {
    found->second.waiting.push_back(std::move(done));
  }
  return true;
}

json ProcessHistory::Report() const {
  json report = json::array();
  for (const auto& [number, program] : programs_) report.push_back(Row(number, program));
  return report;
}

void ProcessHistory::ForgetOldest() {
  for (auto oldest = programs_.begin(); programs_.size() > kKept && oldest != programs_.end();)
    oldest = oldest->second.end ? programs_.erase(oldest) : std::next(oldest);
}

}  // namespace machine
