#include "machine/app_service_operations.h"

#include <unistd.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "machine/connection.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/link/app_service_log.h"

namespace machine {

using host::AppServiceOpening;
using nlohmann::json;
using nlohmann::ordered_json;

namespace {

struct TargetNames {
  std::string package;
  std::string service;
};

TargetNames ReadNames(const Request& request) {
  return {request.body.at("package").get<std::string>(), request.body.at("service").get<std::string>()};
}

bool SameName(const std::string& left, const std::string& right) {
  const NameLess less;
  return !less(left, right) && !less(right, left);
}

}  // namespace

AppServiceOperations::AppServiceOperations(Settings settings, AppServiceHost& host, const PackageStore& packages,
                                           const UserStore& users, TokenOf tokenOf)
    : settings_(std::move(settings)), host_(host), packages_(packages), users_(users), tokenOf_(std::move(tokenOf)) {}

void AppServiceOperations::Add(OpRegistry& operations) {
  operations.Add("app.open", [this](const Request& request) { Open(request); });
  operations.Add("app.listen", [this](const Request& request) { Listen(request); });
  operations.Add("app.leave", [this](const Request& request) { Leave(request); });
}

// In the machine's own process, that of a test, anybody may be who asks.
Token AppServiceOperations::Caller(const Request& request) const {
  Token caller = tokenOf_(*request.connection);
  if (request.connection->peer().pid == getpid() && request.body.contains("identity"))
    ReadToken(request.body.at("identity"), &caller);
  return caller;
}

void AppServiceOperations::Open(const Request& request) const {
  const TargetNames named = ReadNames(request);
  const Token caller = Caller(request);
  const Package* package = packages_.Find(named.package);
  if (package == nullptr || !package->IsInstalledFor(caller.userSid))
    return AnswerOpening(request, caller, AppServiceOpening::kAppNotInstalled, "the user has no such package");
  const AppServiceConfiguration* service = package->FindService(named.service);
  if (service == nullptr)
    return AnswerOpening(request, caller, AppServiceOpening::kAppServiceUnavailable, "the package has no such service");
  // The request is gone when the answer comes.
  const auto answer = [this, connection = request.connection, body = request.body, responder = request.responder,
                       caller](AppServiceOpening status, const std::string& text) {
    AnswerOpening(Request{connection, body, responder}, caller, status, text);
  };
  host_.Open({package->familyName, service->name, caller.userSid, caller.session},
             ProgramOf(*package, *service, caller), answer);
}

ProcessRequest AppServiceOperations::ProgramOf(const Package& package, const AppServiceConfiguration& service,
                                               const Token& caller) const {
  ProcessRequest program;
  program.program = service.program;
  if (program.program.empty()) {
    program.program = settings_.toolProgram;
    program.arguments = {"app", "serve", package.familyName, service.name};
  }
  program.arguments.insert(program.arguments.end(), service.arguments.begin(), service.arguments.end());
  program.token.userSid = caller.userSid;
  program.token.session = caller.session;
  program.token.packageFamilyName = package.familyName;
  program.token.appContainer = package.appContainer;
  return program;
}

void AppServiceOperations::AnswerOpening(const Request& request, const Token& caller, AppServiceOpening status,
                                         const std::string& text) const {
  if (status == AppServiceOpening::kOpened) return request.responder.Reply(json{{"status", 0}, {"socket", text}});
  const TargetNames named = ReadNames(request);
  host::WriteAppServiceRecord(settings_.runtimeFolder, ordered_json{{"what", "not opened"},
                                                                    {"package", named.package},
                                                                    {"service", named.service},
                                                                    {"caller", request.connection->peer().pid},
                                                                    {"userSid", caller.userSid},
                                                                    {"session", caller.session},
                                                                    {"status", static_cast<int>(status)},
                                                                    {"reason", text}});
  request.responder.Reply(json{{"status", static_cast<int>(status)}, {"reason", text}});
}

void AppServiceOperations::Listen(const Request& request) const {
  const TargetNames named = ReadNames(request);
  const auto socket = request.body.at("socket").get<std::string>();
  const bool refuses = request.body.value("refuse", false);
  const Token caller = Caller(request);
  if (socket.empty() || socket.find('/') != std::string::npos)
    return request.responder.Fail(ERROR_INVALID_NAME, "a socket is given by its name alone");
  if (!SameName(caller.packageFamilyName, named.package))
    return request.responder.Fail(ERROR_ACCESS_DENIED, "this process is not one of the package " + named.package);
  const Package* package = packages_.Find(named.package);
  if (package == nullptr || !package->IsInstalledFor(caller.userSid))
    return request.responder.Fail(ERROR_NOT_FOUND, "its user has no package " + named.package);
  const AppServiceConfiguration* service = package->FindService(named.service);
  if (service == nullptr)
    return request.responder.Fail(ERROR_NOT_FOUND, package->familyName + " has no app service " + named.service);
  const AppServiceTarget target = {package->familyName, service->name, caller.userSid, caller.session};
  const std::uint64_t connection = request.connection->id();
  const std::string path = settings_.runtimeFolder + "/appservices/" + socket;
  if (!host_.Listen(target, {connection, request.connection->peer().pid, path, refuses}))
    return request.responder.Fail(ERROR_ALREADY_EXISTS, "another process listens for it");
  request.connection->OnClose([this, target, connection] { host_.Withdraw(target, connection); });
  request.responder.Reply(json{{"user", users_.NameOf(caller.userSid)}, {"session", caller.session}});
}

void AppServiceOperations::Leave(const Request& request) const {
  const TargetNames named = ReadNames(request);
  const Token caller = Caller(request);
  const Package* package = packages_.Find(named.package);
  const std::string familyName = package != nullptr ? package->familyName : named.package;
  const bool left = host_.Leave({familyName, named.service, caller.userSid, caller.session}, request.connection->id());
  request.responder.Reply(json{{"left", left}});
}

}  // namespace machine
