// start, stop, query: the service under its control manager.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/machine_control.h"
#include "tools/service_text.h"

namespace tool {
namespace {

int Query(const Options& options) {
  nlohmann::json service, history;
  if (int code = QueryService(options, &service); code != kDone) return code;
  if (int code = QueryHistory(options, &history); code != kDone) return code;
  if (options.json) {
    service["history"] = history;
    std::printf("%s\n", service.dump().c_str());
    return kDone;
  }
  std::printf("%s\n  history\n", ServiceText(service).c_str());
  for (const nlohmann::json& entry : history) std::printf("    %s\n", HistoryLine(entry).c_str());
  return kDone;
}

// Acts, then says in which state the service is.
int ActAndQuery(const Options& options, int (*act)(const Options&)) {
  if (int code = act(options); code != kDone) return code;
  if (int code = AwaitServiceReady(options); code != kDone) return code;
  nlohmann::json service;
  if (int code = QueryService(options, &service); code != kDone) return code;
  std::printf("%s\n", options.json ? service.dump().c_str() : ServiceStateText(service).c_str());
  return kDone;
}

void Add(CLI::App& app, Options& options, const char* name, const char* help, std::function<int(const Options&)> act) {
  app.add_subcommand(name, help)->callback([&options, act] {
    options.action = [&options, act] { return act(options); };
  });
}

}  // namespace

void AddServiceCommands(CLI::App& app, Options& options) {
  Add(app, options, "start", "start the service and wait until it is at rest",
      [](const Options& chosen) { return ActAndQuery(chosen, StartService); });
  Add(app, options, "stop", "stop the service and wait until it has stopped",
      [](const Options& chosen) { return ActAndQuery(chosen, StopService); });
  Add(app, options, "query", "show the service's configuration, state and history", Query);
}

}  // namespace tool
