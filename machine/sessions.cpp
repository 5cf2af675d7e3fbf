#include "machine/sessions.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "machine/json_file.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

void Sessions::Boot() {
  sessions_.clear();
  next_ = 1;
  sessions_[kServicesSession] = Session{SessionState::kDisconnected, false, "", ""};
  console_ = NewSession();
  Publish();
}

std::uint32_t Sessions::NewSession() {
  const std::uint32_t id = next_++;
  sessions_[id] = Session{};
  return id;
}

unsigned Sessions::Logon(const Session& who, std::optional<std::uint32_t> session,
                         std::vector<SessionChange>* changes) {
  std::uint32_t id = session.value_or(who.remote ? kNoSession : console_);
  if (session && (id == kServicesSession || !sessions_.contains(id))) return kNoSuchSession;
  if (id != kNoSession && !sessions_[id].user.empty()) return ERROR_ALREADY_EXISTS;
  if (id == kNoSession) {
    id = NewSession();
    sessions_[id].remote = who.remote;
    if (!who.remote) console_ = id;
    changes->push_back({who.remote ? SessionEvent::kRemoteConnect : SessionEvent::kConsoleConnect, id});
  }
  Session& entered = sessions_[id];
  entered.user = who.user;
  entered.sid = who.sid;
  entered.state = SessionState::kActive;
  changes->push_back({SessionEvent::kLogon, id});
  Publish();
  return ERROR_SUCCESS;
}

unsigned Sessions::Logoff(std::uint32_t session, std::vector<SessionChange>* changes, std::string* sid) {
  const auto found = sessions_.find(session);
  if (found == sessions_.end()) return kNoSuchSession;
  if (found->second.user.empty()) return kNoSuchLogon;
  *sid = found->second.sid;
  if (session == console_) {
    found->second = Session{};
  } else {
    sessions_.erase(found);
  }
  changes->push_back({SessionEvent::kLogoff, session});
  Publish();
  return ERROR_SUCCESS;
}

unsigned Sessions::Disconnect(std::uint32_t session, std::vector<SessionChange>* changes) {
  const auto found = sessions_.find(session);
  if (found == sessions_.end() || session == kServicesSession) return kNoSuchSession;
  if (found->second.state == SessionState::kDisconnected) return ERROR_NOT_SUPPORTED;
  if (session == console_) {
    LeaveConsole(changes);
  } else {
    found->second.state = SessionState::kDisconnected;
    changes->push_back({SessionEvent::kRemoteDisconnect, session});
  }
  Publish();
  return ERROR_SUCCESS;
}

unsigned Sessions::Connect(std::uint32_t session, bool remote, std::vector<SessionChange>* changes) {
  const auto found = sessions_.find(session);
  if (found == sessions_.end() || session == kServicesSession) return kNoSuchSession;
  Session& connected = found->second;
  if (connected.state != SessionState::kDisconnected) return ERROR_ALREADY_EXISTS;
  if (!remote) {
    if (console_ != kNoSession) LeaveConsole(changes);
    console_ = session;
  }
  connected.remote = remote;
  connected.state = connected.user.empty() ? SessionState::kConnected : SessionState::kActive;
  changes->push_back({remote ? SessionEvent::kRemoteConnect : SessionEvent::kConsoleConnect, session});
  Publish();
  return ERROR_SUCCESS;
}

void Sessions::LeaveConsole(std::vector<SessionChange>* changes) {
  sessions_[console_].state = SessionState::kDisconnected;
  changes->push_back({SessionEvent::kConsoleDisconnect, console_});
  console_ = kNoSession;
}

bool Sessions::IsLoggedOn(const std::string& sid) const {
  return std::any_of(sessions_.begin(), sessions_.end(), [&](const auto& entry) { return entry.second.sid == sid; });
}

json Sessions::Report() const {
  json list = json::array();
  for (const auto& [id, session] : sessions_) {
    list.push_back(json{{"id", id},
                        {"state", static_cast<int>(session.state)},
                        {"remote", session.remote},
                        {"user", session.user},
                        {"sid", session.sid}});
  }
  return json{{"console", console_}, {"sessions", list}};
}

void Sessions::Publish() const {
  for (const auto& listener : listeners_) listener();
  WriteJsonFile(path_, Report(), false, nullptr);
}

}  // namespace machine
