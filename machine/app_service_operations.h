// The operations "app.open", "app.listen" and "app.leave". Loop thread only.
#pragma once

#include <functional>
#include <string>

#include "machine/app_service_host.h"
#include "machine/op_registry.h"
#include "machine/package_store.h"
#include "machine/token.h"
#include "machine/user_store.h"

namespace machine {

class AppServiceOperations {
 public:
  struct Settings {
    std::string runtimeFolder;
    std::string toolProgram;  // what serves where a package names no program
  };
  // The token of the process behind a connection.
  using TokenOf = std::function<Token(const Connection&)>;

  AppServiceOperations(Settings settings, AppServiceHost& host, const PackageStore& packages, const UserStore& users,
                       TokenOf tokenOf);

  // "app.open": platform/host/link/app_service_frames.h.
  //
  // "app.listen" {"package","service","socket","refuse"} makes the caller, a process of the package, the one that
  // listens for its user and session, as long as its connection lasts; it listens already, on the socket of that name
  // in `<runtime>/appservices`. "refuse": every opening is answered with kAppServiceUnavailable. Answers {"user"}, its
  // name; refused with 5 (not of the package), 1168 (not installed for the user, or no such app service) or 183.
  //
  // "app.leave" {"package","service"} ends that; answers {"left"}: false where somebody was sent to the socket just
  // now, and the caller goes on.
  void Add(OpRegistry& operations);

 private:
  void Open(const Request& request) const;
  void Listen(const Request& request) const;
  void Leave(const Request& request) const;
  Token Caller(const Request& request) const;
  ProcessRequest ProgramOf(const Package& package, const AppServiceConfiguration& service, const Token& caller) const;
  void AnswerOpening(const Request& request, const Token& caller, host::AppServiceOpening status,
                     const std::string& text) const;

  const Settings settings_;
  AppServiceHost& host_;
  const PackageStore& packages_;
  const UserStore& users_;
  const TokenOf tokenOf_;
};

}  // namespace machine
