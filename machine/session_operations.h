// The operations "session.logon", "logoff", "connect", "disconnect", "list", "user.add" and "user.list": change the
// sessions, load and unload hives, tell the services. Loop thread only.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "machine/op_registry.h"
#include "machine/service_manager.h"
#include "machine/sessions.h"
#include "machine/user_store.h"

namespace machine {

class SessionOperations {
 public:
  SessionOperations(Sessions& sessions, UserStore& users, ServiceManager& services)
      : sessions_(sessions), users_(users), services_(services) {}

  void Add(OpRegistry& operations);

 private:
  void AddUser(const Request& request);
  void Logon(const Request& request);
  void Logoff(const Request& request);
  void Disconnect(const Request& request);
  void Connect(const Request& request);
  void Tell(const std::vector<SessionChange>& changes, std::function<void(nlohmann::json)> done);

  Sessions& sessions_;
  UserStore& users_;
  ServiceManager& services_;
};

}  // namespace machine
