// service install, uninstall: step by step, each of which may be taken again.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/report.h"
#include "tools/service_registration.h"
#include "tools/wide_text.h"
#include "tools/windows/installed_version.h"
#include "tools/windows/service_manager.h"

namespace tool {
namespace {

constexpr const char* kControlManager = "the service control manager";
constexpr const char* kAsAdministrator = "run it as an administrator";

struct InstallRequest {
  std::string start = "demand";
  std::string program;  // empty: the one beside the tool
  bool dryRun = false;
};

// The manager with the rights that the request needs; a dry run only looks.
struct Installation {
  ServiceManager manager;
  InstalledParts parts;
  ServiceRegistration registration;
};

std::string NextFor(DWORD error) {
  if (error == ERROR_ACCESS_DENIED) return kAsAdministrator;
  if (error == ERROR_SERVICE_MARKED_FOR_DELETE) return "close every program that has the service open, and try again";
  return "";
}

int ReportCode(const Options& options, const std::string& tried, const char* who, DWORD error) {
  return Report(options, error == ERROR_TIMEOUT ? kTimedOut : kFailed, {tried, who, error, NextFor(error)});
}

int Look(const Options& options, bool dryRun, Installation* installation) {
  const DWORD managerRights = dryRun ? SC_MANAGER_CONNECT : SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE;
  DWORD error = installation->manager.Open(managerRights, dryRun ? SERVICE_QUERY_STATUS : SERVICE_ALL_ACCESS);
  if (error != ERROR_SUCCESS) return ReportCode(options, "open the service", kControlManager, error);
  InstalledParts& parts = installation->parts;
  parts.registered = installation->manager.IsRegistered();
  ServiceState state;
  if (parts.registered) error = installation->manager.Query(&state);
  if (error != ERROR_SUCCESS) return ReportCode(options, "query the service", kControlManager, error);
  parts.running = parts.registered && state.state != SERVICE_STOPPED;
  std::optional<std::string> version;
  if (error = ReadInstalledVersion(&version); error != ERROR_SUCCESS)
    return ReportCode(options, "read the installed version", "the registry", error);
  parts.version = version.has_value();
  return kDone;
}

DWORD Take(ServiceStep step, Installation& installation) {
  ServiceManager& manager = installation.manager;
  switch (step) {
    case ServiceStep::Create:
      return manager.Create(installation.registration);
    case ServiceStep::Change:
      return manager.Change(installation.registration);
    case ServiceStep::Describe:
      return manager.Describe();
    case ServiceStep::SetFailureActions:
      return manager.SetFailureActions();
    case ServiceStep::RecordVersion:
      return RecordInstalledVersion(installation.registration.version);
    case ServiceStep::Stop: {
      const DWORD error = manager.Stop();
      return error == ERROR_SERVICE_NOT_ACTIVE ? ERROR_SUCCESS : error;
    }
    case ServiceStep::Delete:
      return manager.Delete();
    case ServiceStep::RemoveVersion:
      return RemoveInstalledVersion();
  }
  return ERROR_INVALID_PARAMETER;
}

void ShowStep(const Options& options, const std::string& step, bool done) {
  const nlohmann::ordered_json object = {{"step", step}, {"done", done}};
  if (options.json)
    std::printf("%s\n", object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
  else
    std::printf("%s%s\n", done ? "" : "would ", step.c_str());
}

// A failure undoes a registration that these steps have made; any other step may be taken again.
int TakeAll(const Options& options, const std::vector<ServiceStep>& steps, bool dryRun, Installation& installation) {
  for (const ServiceStep step : steps) {
    const std::string text = StepText(step, installation.registration);
    const DWORD error = dryRun ? ERROR_SUCCESS : Take(step, installation);
    if (error != ERROR_SUCCESS) {
      const bool version = step == ServiceStep::RecordVersion || step == ServiceStep::RemoveVersion;
      if (steps.front() == ServiceStep::Create && installation.manager.IsRegistered()) installation.manager.Delete();
      return ReportCode(options, text, version ? "the registry" : kControlManager, error);
    }
    ShowStep(options, text, !dryRun);
  }
  return kDone;
}

// The full path of the program that is to be the service.
WideString ProgramPath(const std::string& chosen) {
  std::vector<WCHAR> path(32768);  // the longest path there is
  const auto capacity = static_cast<DWORD>(path.size());
  if (!chosen.empty()) return {path.data(), GetFullPathNameW(ToWide(chosen).c_str(), capacity, path.data(), nullptr)};
  const WideString tool(path.data(), GetModuleFileNameW(nullptr, path.data(), capacity));
  return tool.substr(0, tool.rfind(W('\\')) + 1) + W("hkd04a7-service.exe");
}

std::string ProgramError(const WideString& program) {
  if (std::string error = ProgramPathError(program); !error.empty()) return error;
  const DWORD attributes = GetFileAttributesW(program.c_str());
  const bool file = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
  return file ? "" : "there is no such file";
}

int Install(const Options& options, const InstallRequest& request) {
  Installation installation;
  ServiceRegistration& registration = installation.registration;
  registration = {ProgramPath(request.program), request.start == "auto", InstalledVersion(HKD_VERSION).value_or("")};
  const std::string tried = "install the service from " + ToNarrow(registration.program);
  if (const std::string error = ProgramError(registration.program); !error.empty())
    return Report(options, kFailed, {tried, error, 0, "--program names another one"});
  if (registration.version.empty())
    return Report(options, kFailed, {tried, "version " HKD_VERSION " is below 4, with which the service stops", 0, ""});
  if (int code = Look(options, request.dryRun, &installation); code != kDone) return code;
  return TakeAll(options, InstallSteps(installation.parts), request.dryRun, installation);
}

int Uninstall(const Options& options, const InstallRequest& request) {
  Installation installation;
  if (int code = Look(options, request.dryRun, &installation); code != kDone) return code;
  const std::vector<ServiceStep> steps = UninstallSteps(installation.parts);
  if (steps.empty() && !options.json) std::printf("nothing is installed\n");
  return TakeAll(options, steps, request.dryRun, installation);
}

}  // namespace

void AddServiceInstallCommands(CLI::App& app, Options& options) {
  CLI::App* service = app.add_subcommand("service", "put the service on this machine, or take it off");
  service->require_subcommand(1);
  auto request = std::make_shared<InstallRequest>();
  CLI::App* install = service->add_subcommand("install", "register the service and record its version");
  install->add_option("--start", request->start, "on demand, or with the machine")
      ->check(CLI::IsMember({"demand", "auto"}))
      ->capture_default_str();
  install->add_option("--program", request->program, "the service's program, unless it lies beside the tool");
  install->callback(
      [&options, request] { options.action = [&options, request] { return Install(options, *request); }; });
  CLI::App* uninstall = service->add_subcommand("uninstall", "stop the service and undo what install did");
  uninstall->callback(
      [&options, request] { options.action = [&options, request] { return Uninstall(options, *request); }; });
  for (CLI::App* command : {install, uninstall})
    command->add_flag("--dry-run", request->dryRun, "tell each step and take none");
}

}  // namespace tool
