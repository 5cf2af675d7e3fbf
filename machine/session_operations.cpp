#include "machine/session_operations.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "machine/service_controls.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/registry/registry_control.h"

namespace machine {

using nlohmann::json;

namespace {

std::string Reason(DWORD error) {
  switch (error) {
    case kNoSuchSession:
      return "there is no such session";
    case kNoSuchLogon:
      return "nobody is logged on in this session";
    case ERROR_ALREADY_EXISTS:
      return "the session is taken";
    default:
      return "the session is not in a state for this";
  }
}

// The session a request names, or the console's.
std::uint32_t Chosen(const Request& request, const Sessions& sessions) {
  return request.body.value("session", sessions.console());
}

}  // namespace

void SessionOperations::Add(OpRegistry& operations) {
  operations.Add("session.logon", [this](const Request& request) { Logon(request); });
  operations.Add("session.logoff", [this](const Request& request) { Logoff(request); });
  operations.Add("session.connect", [this](const Request& request) { Connect(request); });
  operations.Add("session.disconnect", [this](const Request& request) { Disconnect(request); });
  operations.Add("session.list", [this](const Request& request) { request.responder.Reply(sessions_.Report()); });
  operations.Add("user.add", [this](const Request& request) { AddUser(request); });
  operations.Add("user.list", [this](const Request& request) {
    request.responder.Reply(json{{"users", users_.Report()}});
  });
}

void SessionOperations::AddUser(const Request& request) {
  const auto user = request.body.at("user").get<std::string>();
  std::string error;
  const auto sid = users_.Ensure(user, &error);
  if (!sid) return request.responder.Fail(ERROR_INVALID_NAME, error);
  request.responder.Reply(json{{"user", users_.Spelling(user)}, {"sid", *sid}});
}

void SessionOperations::Logon(const Request& request) {
  const auto user = request.body.at("user").get<std::string>();
  std::optional<std::uint32_t> session;
  if (request.body.contains("session")) session = request.body.at("session").get<std::uint32_t>();
  Session who;
  who.remote = request.body.value("remote", false);
  std::string error;
  const auto sid = users_.Ensure(user, &error);
  if (!sid) return request.responder.Fail(ERROR_INVALID_NAME, error);
  who.user = users_.Spelling(user);
  who.sid = *sid;
  std::vector<SessionChange> changes;
  if (const DWORD code = sessions_.Logon(who, session, &changes)) return request.responder.Fail(code, Reason(code));
  if (const LSTATUS failed = host::SetHiveLoaded(*sid, true)) {
    return request.responder.Fail(static_cast<DWORD>(failed), "the hive of " + *sid + " cannot be loaded");
  }
  const std::uint32_t entered = changes.back().session;
  Tell(changes, [responder = request.responder, entered, sid = *sid](json delivered) {
    responder.Reply(json{{"session", entered}, {"sid", sid}, {"delivered", std::move(delivered)}});
  });
}

void SessionOperations::Logoff(const Request& request) {
  const std::uint32_t session = Chosen(request, sessions_);
  std::vector<SessionChange> changes;
  std::string sid;
  if (const DWORD code = sessions_.Logoff(session, &changes, &sid)) return request.responder.Fail(code, Reason(code));
  Tell(changes, [this, responder = request.responder, session, sid](json delivered) {
    // The services still reach the hive while they hear of the logoff.
    if (!sessions_.IsLoggedOn(sid)) host::SetHiveLoaded(sid, false);
    responder.Reply(json{{"session", session}, {"sid", sid}, {"delivered", std::move(delivered)}});
  });
}

void SessionOperations::Disconnect(const Request& request) {
  const std::uint32_t session = Chosen(request, sessions_);
  std::vector<SessionChange> changes;
  if (const DWORD code = sessions_.Disconnect(session, &changes)) return request.responder.Fail(code, Reason(code));
  Tell(changes, [responder = request.responder, session](json delivered) {
    responder.Reply(json{{"session", session}, {"delivered", std::move(delivered)}});
  });
}

void SessionOperations::Connect(const Request& request) {
  const auto session = request.body.at("session").get<std::uint32_t>();
  const bool remote = request.body.value("remote", false);
  std::vector<SessionChange> changes;
  if (const DWORD code = sessions_.Connect(session, remote, &changes))
    return request.responder.Fail(code, Reason(code));
  Tell(changes, [responder = request.responder, session](json delivered) {
    responder.Reply(json{{"session", session}, {"delivered", std::move(delivered)}});
  });
}

void SessionOperations::Tell(const std::vector<SessionChange>& changes, std::function<void(json)> done) {
  std::vector<ServiceNotice> notices;
  for (const SessionChange& change : changes)
    notices.push_back({kControlSessionChange, static_cast<DWORD>(change.event), change.session});
  services_.notices().Send(std::move(notices), std::move(done));
}

}  // namespace machine
