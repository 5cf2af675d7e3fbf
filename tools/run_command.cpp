// run: a program of the machine, with an identity of choice.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/program_path.h"
#include "tools/program_run.h"
#include "tools/report.h"
#include "tools/run_identity.h"
#include "tools/session_control.h"
#include "tools/text_check.h"

namespace tool {
namespace {

using nlohmann::json;

struct RunRequest {
  RunIdentity identity;
  std::vector<std::string> words;  // the program and its arguments
};

std::string SearchPath() {
  const char* path = std::getenv("PATH");
  return path != nullptr ? path : "/usr/bin:/bin";
}

int ResolveIdentity(const Options& options, const RunIdentity& identity, const std::string& tried, json* members) {
  json users, sessions;
  if (int code = RequireMachine(options, tried); code != kDone) return code;
  if (int code = ListUsers(options, &users); code != kDone) return code;
  if (int code = ListSessions(options, &sessions); code != kDone) return code;
  std::string error;
  const auto resolved = IdentityMembers(identity, users, sessions.at("sessions"), &error);
  if (!resolved)
    return Report(options, kFailed, {tried, error, 0, "hkd04a7ctl status shows the sessions; user add makes users"});
  *members = *resolved;
  return kDone;
}

int RunProgram(const Options& options, const RunRequest& request) {
  const std::string& name = request.words[0];
  const std::string tried = "run " + name;
  const std::string program = FindProgram(name, SearchPath());
  if (program.empty()) return Report(options, kFailed, {tried, "there is no such program", 0, ""});
  json message = {{"program", program},
                  {"arguments", std::vector<std::string>(request.words.begin() + 1, request.words.end())}};
  std::error_code error;
  if (const auto directory = std::filesystem::current_path(error); !error) message["directory"] = directory.string();
  if (int code = ResolveIdentity(options, request.identity, tried, &message["identity"]); code != kDone) return code;
  return ProgramRun(options).Run(std::move(message));
}

// An empty name is one that a script lost, not the default.
std::string NameError(const std::string& text) {
  return text.empty() ? "it is empty" : TextError(text);
}

CLI::Validator Capability() {
  return CLI::Validator(
      [](std::string& text) {
        if (std::string error = TextError(text); !error.empty()) return error;
        return text.empty() || CapabilitySid(text).empty() ? "not a capability: " + text : std::string();
      },
      "");
}

}  // namespace

void AddRunCommand(CLI::App& app, Options& options) {
  CLI::App* run = app.add_subcommand("run", "run a program in the machine, with the identity that the options give it");
  auto request = std::make_shared<RunRequest>();
  RunIdentity& identity = request->identity;
  run->add_option("--user", identity.user, "the user; default: who is in the session, or at the console")
      ->check(NameError);
  run->add_option("--session", identity.session, "the session; default: the user's, or the console's")
      ->check(WordError);
  run->add_option("--package", identity.package, "the package family name; default: not packaged")->check(NameError);
  run->add_flag("--app-container", identity.appContainer, "in an app container, and all that it starts");
  run->add_option("--capability", identity.capabilities, "a capability's name or SID; may be given several times")
      ->allow_extra_args(false)
      ->check(Capability());
  run->add_option("program", request->words, "after --: the program, along PATH, and its arguments")
      ->required()
      ->expected(1, -1)
      ->check(TextError);
  run->callback(
      [&options, request] { options.action = [&options, request] { return RunProgram(options, *request); }; });
}

}  // namespace tool
