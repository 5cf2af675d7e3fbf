// run-as-system: has the service run a command of its allow-list with system rights.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "client/run_as_system.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/gate.h"
#include "tools/service_client.h"
#include "tools/started_programs.h"
#include "tools/text_check.h"
#include "tools/wide_text.h"

namespace tool {
namespace {

using nlohmann::ordered_json;

struct Request {
  std::string command;
  std::string parameters;
  bool noWait = false;
  bool clientSession = false;
};

void Show(const Options& options, const Request& request, const std::vector<StartedProgram>& started, DWORD exitCode) {
  if (options.json) {
    ordered_json object = {{"command", request.command}, {"started", ordered_json::array()}};
    for (const StartedProgram& program : started)
      object["started"].push_back({{"pid", program.pid},
                                   {"program", program.program},
                                   {"commandLine", program.commandLine},
                                   {"session", program.session}});
    if (!request.noWait) object["exitCode"] = exitCode;
    std::printf("%s\n", object.dump(-1, ' ', false, ordered_json::error_handler_t::replace).c_str());
    return;
  }
  // Several: other clients asked for the like at the same time.
  const char* const verb = started.size() > 1 ? "perhaps started" : "started";
  for (const StartedProgram& program : started)
    std::printf("%s in session %u, process %u: %s\n", verb, program.session, program.pid, program.commandLine.c_str());
  if (request.noWait)
    std::printf("it runs; not waited for\n");
  else
    std::printf("exit code %u\n", static_cast<unsigned>(exitCode));
}

int Refuse(const Options& options, const Request& request, const client::Status& status) {
  const Gate gate = status.FromRuntime() ? GateOf(status) : GateOfRun(status, ReadRunFacts(ToWide(request.command)));
  return ReportStatus(options, "run \"" + request.command + "\" as system", status, gate);
}

int Run(const Options& options, const Request& request) {
  client::Connection connection;
  if (int code = Connect(options, &connection); code != kDone) return code;
  const StartedPrograms programs;
  DWORD exitCode = 0;
  const client::Status status = client::RunAsSystem(
      connection, {ToWide(request.command), ToWide(request.parameters), !request.noWait, request.clientSession},
      &exitCode);
  if (!status.Ok()) return Refuse(options, request, status);
  StartedBy wanted = {request.parameters, request.clientSession, std::nullopt};
  if (!request.noWait) wanted.exitCode = exitCode;
  Show(options, request, programs.ByService(wanted), exitCode);
  return kDone;
}

}  // namespace

void AddRunAsSystemCommand(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("run-as-system", "have the service run a command of its allow-list as system");
  auto request = std::make_shared<Request>();
  command->add_option("command", request->command, "its identifier in the allow-list")->required()->check(TextError);
  command
      ->add_option("parameters", request->parameters,
                   "appended to the command line as they stand, one text; after -- if they begin with a dash")
      ->check(TextError);
  command->add_flag("--no-wait", request->noWait, "do not wait for the program's end");
  command->add_flag("--client-session", request->clientSession, "in this process's session, not in the services'");
  command->callback([&options, request] { options.action = [&options, request] { return Run(options, *request); }; });
}

}  // namespace tool
