// app: which app services are told about which events.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "client/app_services.h"
#include "tools/commands.h"
#include "tools/event_text.h"
#include "tools/exit_codes.h"
#include "tools/numbers.h"
#include "tools/service_client.h"
#include "tools/text_check.h"
#include "tools/wide_text.h"

namespace tool {
namespace {

using client::AppServices;

struct Registration {
  std::string package;
  std::string service;
  std::uint32_t event = 0;
  std::uint32_t data1 = 0;
  bool hasData1 = false;

  client::AppServiceEvent Event() const { return {event, hasData1 ? std::optional<DWORD>(data1) : std::nullopt}; }
};

std::string EventText(const Registration& request) {
  return "event " + std::to_string(request.event) + " (" + EventSource(request.event) + ")" +
         (request.hasData1 ? " with data1 " + Hex(request.data1) : "");
}

void ShowDone(const Options& options, const Registration& request, const char* done) {
  if (!options.json) {
    const std::string service = request.service.empty() ? "" : " (" + request.service + ")";
    std::printf("%s: %s%s for %s\n", done, request.package.c_str(), service.c_str(), EventText(request).c_str());
    return;
  }
  nlohmann::ordered_json object = {{"done", done}, {"package", request.package}, {"event", request.event}};
  if (!request.service.empty()) object["service"] = request.service;
  if (request.hasData1) object["data1"] = request.data1;
  std::printf("%s\n", object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

using Make = client::Status (*)(AppServices& services, const Registration& request);

int Run(const Options& options, const Registration& request, const char* verb, const char* done, Make make) {
  client::Connection connection;
  if (int code = Connect(options, &connection); code != kDone) return code;
  AppServices services(connection);
  const client::Status status = make(services, request);
  if (!status.Ok())
    return ReportStatus(options, std::string(verb) + " " + request.package + " for " + EventText(request), status);
  ShowDone(options, request, done);
  return kDone;
}

client::Status Register(AppServices& services, const Registration& request) {
  return services.Register(ToWide(request.package), ToWide(request.service), request.Event());
}

client::Status Unregister(AppServices& services, const Registration& request) {
  return services.Unregister(ToWide(request.package), request.Event());
}

client::Status Query(AppServices& services, const Registration& request) {
  return services.Query(ToWide(request.package), ToWide(request.service), request.Event());
}

// The options that say which occurrences a registration is for.
void AddEvent(CLI::App* command, Registration* request) {
  AddWord(*command, "--event", &request->event, "the event's identifier")->required();
  CLI::Option* data1 = AddWord(*command, "--data1", &request->data1, "occurrences with this first data word only");
  CLI::Option* any = command->add_flag("--any")->excludes(data1);
  any->description("every occurrence, which also holds without --data1");
}

struct Verb {
  const char* name;
  const char* help;
  const char* done;
  bool namesService;
  Make make;
};

void Add(CLI::App* app, Options& options, const Verb& verb) {
  CLI::App* command = app->add_subcommand(verb.name, verb.help);
  auto request = std::make_shared<Registration>();
  command->add_option("package", request->package, "the package family name")->required()->check(TextError);
  if (verb.namesService)
    command->add_option("service", request->service, "the app service's name")->required()->check(TextError);
  AddEvent(command, request.get());
  command->callback([&options, verb, command, request] {
    request->hasData1 = command->count("--data1") > 0;
    options.action = [&options, verb, request] { return Run(options, *request, verb.name, verb.done, verb.make); };
  });
}

}  // namespace

void AddAppServiceCommands(CLI::App& app, Options& options) {
  CLI::App* group = app.add_subcommand("app", "app services that are told about events, for the calling user");
  group->require_subcommand(1);
  Add(group, options, {"register", "have an app service told about an event", "registered", true, Register});
  Add(group, options, {"unregister", "no longer", "unregistered", false, Unregister});
  Add(group, options, {"query", "whether it is this one that is told", "is registered", true, Query});
}

}  // namespace tool
