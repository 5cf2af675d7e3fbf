#include "machine/session_processes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "machine/json_file.h"
#include "machine/token.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/identity/process_token.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::uint32_t kPidStep = 4;

}  // namespace

SessionProcesses::SessionProcesses(std::string runtimeFolder, Sessions& sessions)
    : folder_(std::move(runtimeFolder) + "/processes"),
      sessions_(sessions),
      nextPid_(static_cast<std::uint32_t>(host::kFirstRowOnly)) {
  sessions_.OnChange([this] { Follow(); });
}

void SessionProcesses::AddOperations(OpRegistry& operations) {
  operations.Add("session.winlogon", [this](const Request& request) { Change(request); });
}

// Every row is written again: a boot has taken them away.
void SessionProcesses::Follow() {
  mkdir(folder_.c_str(), 0700);
  for (auto entry = rows_.begin(); entry != rows_.end();) {
    if (!sessions_.all().contains(entry->first)) Withdraw(entry->second);
    entry = sessions_.all().contains(entry->first) ? std::next(entry) : rows_.erase(entry);
  }
  for (const auto& [session, state] : sessions_.all()) {
    if (session == kServicesSession) continue;
    if (!rows_.contains(session)) rows_.emplace(session, Row{NewPid()});
    Publish(session, rows_.at(session));
  }
}

void SessionProcesses::Change(const Request& request) {
  const auto session = request.body.at("session").get<std::uint32_t>();
  const auto found = rows_.find(session);
  if (found == rows_.end()) return request.responder.Fail(kNoSuchSession, "there is no such session of people");
  Row changed = found->second;
  changed.present = request.body.value("present", changed.present);
  changed.name = request.body.value("name", changed.name);
  changed.system = request.body.value("system", changed.system);
  if (changed.present && !found->second.present) changed.pid = NewPid();
  Withdraw(found->second);
  found->second = changed;
  Publish(session, changed);
  request.responder.Reply(json{{"pid", changed.pid}, {"present", changed.present}});
}

json SessionProcesses::Rows() const {
  json rows = json::array();
  for (const auto& [session, row] : rows_)
    if (row.present) rows.push_back(Published(session, row));
  return rows;
}

json SessionProcesses::Published(std::uint32_t session, const Row& row) {
  Token token = row.system ? SystemToken() : Token{};
  if (!row.system) token.userSid = host::kLocalServiceSid;
  token.session = session;
  return {{"pid", row.pid}, {"name", row.name}, {"token", ToJson(token)}, {"role", "session"}};
}

void SessionProcesses::Publish(std::uint32_t session, const Row& row) const {
  if (row.present) WriteJsonFile(Path(row), Published(session, row), false, nullptr);
}

void SessionProcesses::Withdraw(const Row& row) const {
  unlink(Path(row).c_str());
}

std::string SessionProcesses::Path(const Row& row) const {
  return folder_ + "/" + std::to_string(row.pid);
}

std::uint32_t SessionProcesses::NewPid() {
  return std::exchange(nextPid_, nextPid_ + kPidStep);
}

}  // namespace machine
