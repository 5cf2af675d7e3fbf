#include "machine/package_operations.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr DWORD kNoSuchUser = 1317;

void PutService(AppServiceConfiguration service, Package* package) {
  const auto same = std::find_if(package->services.begin(), package->services.end(),
                                 [&](const AppServiceConfiguration& known) { return known.name == service.name; });
  if (same != package->services.end())
    *same = std::move(service);
  else
    package->services.push_back(std::move(service));
}

}  // namespace

void PackageOperations::Add(OpRegistry& operations) {
  operations.Add("package.add", [this](const Request& request) { Install(request); });
  operations.Add("package.remove", [this](const Request& request) { Remove(request); });
  operations.Add("package.list", [this](const Request& request) { request.responder.Reply(List()); });
}

// Answers with a refusal and false for a user that is none. `sid` stays empty where no user is named.
bool PackageOperations::ReadUser(const Request& request, std::string* sid) const {
  const auto user = request.body.value("user", std::string());
  if (user.empty()) return true;
  const auto found = users_.Find(user);
  if (found) *sid = *found;
  if (!found) request.responder.Fail(kNoSuchUser, "there is no user " + user);
  return found.has_value();
}

void PackageOperations::Install(const Request& request) {
  const auto familyName = request.body.at("package").get<std::string>();
  const Package* known = packages_.Find(familyName);
  Package package = known != nullptr ? *known : Package{};
  if (known == nullptr) package.familyName = familyName;
  package.appContainer = request.body.value("appContainer", package.appContainer);
  std::string sid, service, error;
  if (request.body.contains("service")) {
    const json& value = request.body.at("service");
    service = value.at("name").get<std::string>();
    PutService(ReadAppService(value), &package);
  }
  if (!ReadUser(request, &sid)) return;
  if (!sid.empty() && known != nullptr && known->userSids.empty())
    return request.responder.Fail(ERROR_ALREADY_EXISTS, "it is installed for everybody");
  if (!sid.empty() && (known == nullptr || !known->IsInstalledFor(sid))) package.userSids.push_back(sid);
  if (error = FaultOf(package); !error.empty()) return request.responder.Fail(ERROR_INVALID_NAME, error);
  if (!packages_.Put(package, &error)) return request.responder.Fail(ERROR_WRITE_FAULT, error);
  if (!service.empty()) EndServices(package.familyName, "", service);
  request.responder.Reply(json{{"installed", Row(package)}});
}

void PackageOperations::Remove(const Request& request) {
  const Package* known = packages_.Find(request.body.at("package").get<std::string>());
  std::string sid, error;
  if (!ReadUser(request, &sid)) return;
  if (known == nullptr || (!sid.empty() && !known->IsInstalledFor(sid)))
    return request.responder.Fail(ERROR_NOT_FOUND, "it is not installed");
  Package package = *known;
  if (!sid.empty() && package.userSids.empty())
    return request.responder.Fail(ERROR_NOT_SUPPORTED, "it is installed for everybody");
  std::erase(package.userSids, sid);
  const bool stays = !sid.empty() && !package.userSids.empty();
  if (!(stays ? packages_.Put(package, &error) : packages_.Remove(package.familyName, &error)))
    return request.responder.Fail(ERROR_WRITE_FAULT, error);
  EndServices(package.familyName, sid, "");
  request.responder.Done();
}

// An empty user or service: all of them.
void PackageOperations::EndServices(const std::string& package, const std::string& userSid,
                                    const std::string& service) {
  host_.End([&](const AppServiceTarget& target) {
    return target.package == package && (userSid.empty() || target.userSid == userSid) &&
           (service.empty() || target.service == service);
  });
}

json PackageOperations::Row(const Package& package) const {
  json row = ToJson(package);
  row["users"] = json::array();
  for (const std::string& sid : package.userSids) row["users"].push_back(users_.NameOf(sid));
  return row;
}

json PackageOperations::List() const {
  json packages = json::array();
  for (const auto& [name, package] : packages_.all()) packages.push_back(Row(package));
  json running = host_.Report();
  for (json& row : running) row["user"] = users_.NameOf(row.at("userSid").get<std::string>());
  return json{{"packages", std::move(packages)}, {"running", std::move(running)}};
}

}  // namespace machine
