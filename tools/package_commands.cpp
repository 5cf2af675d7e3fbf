// package add, remove, list: the machine's packages and their app services.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/app_serve_mode.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/package_text.h"
#include "tools/program_path.h"
#include "tools/report.h"
#include "tools/text_check.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr std::chrono::seconds kPackagePatience{30};
constexpr std::uint32_t kDefaultIdleMs = 30'000;

struct PackageRequest {
  std::string package;
  std::string user;
  std::string service;
  bool appContainer = false;
  AppServeMode mode{AppServeMode::Kind::kAnswers, 0, kDefaultIdleMs};
  std::vector<std::string> words;  // the program and its arguments; none: the tool itself
};

MachineRequest WithPackage(const std::string& tried) {
  return {tried, "the machine", "hkd04a7ctl package list", kPackagePatience};
}

// The member "service" of the request. False, after a report, when the program is not there.
bool ReadService(const Options& options, const PackageRequest& request, const std::string& tried, json* service) {
  *service = {{"name", request.service}, {"program", ""}, {"arguments", ModeArguments(request.mode)}};
  if (request.words.empty()) return true;
  const char* path = std::getenv("PATH");
  const std::string program = FindProgram(request.words[0], path != nullptr ? path : "/usr/bin:/bin");
  if (program.empty()) {
    Report(options, kFailed, {tried, "there is no program " + request.words[0], 0, ""});
    return false;
  }
  (*service)["program"] = program;
  (*service)["arguments"] = std::vector<std::string>(request.words.begin() + 1, request.words.end());
  return true;
}

void ShowPackage(const Options& options, json package, const json& running) {
  if (!options.json) {
    for (const std::string& line : PackageText(package, running)) std::printf("%s\n", line.c_str());
    return;
  }
  package["running"] = json::array();
  for (const json& instance : running)
    if (instance.at("package") == package.at("package")) package["running"].push_back(instance);
  std::printf("%s\n", package.dump().c_str());
}

// A manner is the tool's own, for an app service that it plays.
bool HasUselessManner(const PackageRequest& request) {
  const AppServeMode& mode = request.mode;
  const bool given = mode.kind != AppServeMode::Kind::kAnswers || mode.delayMs != 0 || mode.idleMs != kDefaultIdleMs;
  return given && (request.service.empty() || !request.words.empty());
}

int Install(const Options& options, const PackageRequest& request) {
  const std::string tried = "install " + request.package;
  if (HasUselessManner(request))
    return Report(options, kUsage,
                  {tried, "how it answers is said of an app service that hkd04a7ctl plays", 0,
                   "give --service, and no program behind --"});
  json message = {{"op", "package.add"}, {"package", request.package}};
  if (!request.user.empty()) message["user"] = request.user;
  if (request.appContainer) message["appContainer"] = true;
  if (!request.service.empty() && !ReadService(options, request, tried, &message["service"])) return kFailed;
  json reply;
  const int code = CallMachine(options, WithPackage(tried), message, &reply);
  if (code == kDone) ShowPackage(options, reply.at("installed"), json::array());
  return code;
}

int Remove(const Options& options, const PackageRequest& request) {
  json message = {{"op", "package.remove"}, {"package", request.package}};
  if (!request.user.empty()) message["user"] = request.user;
  const int code = CallMachine(options, WithPackage("remove " + request.package), message, nullptr);
  if (code == kDone && !options.json) std::printf("removed: %s\n", request.package.c_str());
  return code;
}

int ListPackages(const Options& options) {
  json reply;
  if (int code = CallMachine(options, WithPackage("list the packages"), json{{"op", "package.list"}}, &reply);
      code != kDone)
    return code;
  for (const json& package : reply.at("packages")) ShowPackage(options, package, reply.at("running"));
  return kDone;
}

// An empty name is one that a script lost, not the default.
std::string GivenNameError(const std::string& text) {
  return text.empty() ? "it is empty" : TextError(text);
}

CLI::App* AddOnPackage(CLI::App& group, Options& options, const char* name, const char* help,
                       const std::shared_ptr<PackageRequest>& request,
                       int (*act)(const Options&, const PackageRequest&)) {
  CLI::App* command = group.add_subcommand(name, help);
  command->add_option("package", request->package, "the package family name")->required()->check(TextError);
  command->add_option("--user", request->user, "for this user only")->check(GivenNameError);
  command->callback(
      [&options, request, act] { options.action = [&options, request, act] { return act(options, *request); }; });
  return command;
}

void AddInstall(CLI::App& group, Options& options) {
  auto request = std::make_shared<PackageRequest>();
  CLI::App* add = AddOnPackage(group, options, "add", "install a package, or add to it", request, Install);
  CLI::Option* service =
      add->add_option("--service", request->service, "with this app service, played by hkd04a7ctl app serve")
          ->check(GivenNameError);
  add->add_flag("--app-container", request->appContainer, "its programs run in an app container");
  AddModeOptions(*add, "--slow", &request->mode);
  add->add_option("program", request->words, "after --: the program that plays the app service, and its arguments")
      ->needs(service)
      ->expected(1, -1)
      ->check(TextError);
}

}  // namespace

void AddPackageCommands(CLI::App& app, Options& options) {
  CLI::App* group = app.add_subcommand("package", "the machine's packages and their app services");
  group->require_subcommand(1);
  AddInstall(*group, options);
  AddOnPackage(*group, options, "remove", "remove a package: its programs end", std::make_shared<PackageRequest>(),
               Remove);
  group->add_subcommand("list", "show the packages, and which app services run")->callback([&options] {
    options.action = [&options] { return ListPackages(options); };
  });
}

}  // namespace tool
