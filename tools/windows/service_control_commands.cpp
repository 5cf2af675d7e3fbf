// start, stop, query: the service under the machine's control manager.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/report.h"
#include "tools/service_text.h"
#include "tools/wide_text.h"
#include "tools/windows/installed_version.h"
#include "tools/windows/service_manager.h"

namespace tool {
namespace {

int ReportControl(const Options& options, const std::string& tried, DWORD error) {
  std::string next = "hkd04a7ctl query";
  if (error == ERROR_SERVICE_DOES_NOT_EXIST) next = "hkd04a7ctl service install";
  if (error == ERROR_ACCESS_DENIED) next = "run it as an administrator";
  int code = kFailed;
  if (error == ERROR_TIMEOUT) code = kTimedOut;
  if (error == ERROR_SERVICE_NOT_ACTIVE) code = kServiceNotRunning;
  return Report(options, code, {tried, "the service control manager", error, next});
}

// The registered service with these rights; 1060 when there is none.
DWORD OpenRegistered(DWORD rights, ServiceManager* manager) {
  const DWORD error = manager->Open(SC_MANAGER_CONNECT, rights);
  return error == ERROR_SUCCESS && !manager->IsRegistered() ? ERROR_SERVICE_DOES_NOT_EXIST : error;
}

nlohmann::json ToJson(const ServiceState& state) {
  return {{"name", kServiceName},
          {"state", state.state},
          {"pid", state.pid},
          {"win32ExitCode", state.exitCode},
          {"serviceSpecificExitCode", state.specificExitCode}};
}

void Show(const Options& options, const nlohmann::json& object, const std::string& text) {
  const auto replace = nlohmann::json::error_handler_t::replace;
  std::printf("%s\n", options.json ? object.dump(-1, ' ', false, replace).c_str() : text.c_str());
}

// Acts, then says in which state the service is. One that ended with an error right after its start is a failure.
int ActAndShow(const Options& options, const char* tried, DWORD right, DWORD (ServiceManager::*act)()) {
  ServiceManager manager;
  ServiceState state;
  DWORD error = OpenRegistered(right | SERVICE_QUERY_STATUS, &manager);
  if (error == ERROR_SUCCESS) error = (manager.*act)();
  if (error == ERROR_SUCCESS) error = manager.Query(&state);
  if (error != ERROR_SUCCESS) return ReportControl(options, tried, error);
  const nlohmann::json object = ToJson(state);
  Show(options, object, ServiceStateText(object));
  return state.state == SERVICE_STOPPED && state.exitCode != 0 ? kFailed : kDone;
}

int QueryService(const Options& options) {
  ServiceManager manager;
  ServiceState state;
  ServiceConfiguration configuration;
  std::optional<std::string> version;
  DWORD error = OpenRegistered(SERVICE_QUERY_STATUS | SERVICE_QUERY_CONFIG, &manager);
  if (error == ERROR_SUCCESS) error = manager.Query(&state);
  if (error == ERROR_SUCCESS) error = manager.Query(&configuration);
  if (error == ERROR_SUCCESS) error = ReadInstalledVersion(&version);
  if (error != ERROR_SUCCESS) return ReportControl(options, "query the service", error);
  nlohmann::json object = ToJson(state);
  object["startType"] = configuration.startType;
  object["program"] = ToNarrow(configuration.commandLine);
  if (version) object["version"] = *version;
  Show(options, object, ServiceText(object) + "\n  version    " + version.value_or("none recorded"));
  return kDone;
}

}  // namespace

void AddServiceControlCommands(CLI::App& app, Options& options) {
  app.add_subcommand("start", "start the service and wait until it is at rest")->callback([&options] {
    options.action = [&options] {
      return ActAndShow(options, "start the service", SERVICE_START, &ServiceManager::Start);
    };
  });
  app.add_subcommand("stop", "stop the service and wait until it has stopped")->callback([&options] {
    options.action = [&options] {
      return ActAndShow(options, "stop the service", SERVICE_STOP, &ServiceManager::Stop);
    };
  });
  app.add_subcommand("query", "show the service's configuration and state")->callback([&options] {
    options.action = [&options] { return QueryService(options); };
  });
}

}  // namespace tool
