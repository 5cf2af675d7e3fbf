// call, wakeup: what a device session offers.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "client/device_session.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/numbers.h"
#include "tools/service_client.h"

namespace tool {
namespace {

using client::DeviceSession;
using client::WakeupKind;

constexpr std::uint32_t kDeviceError = 0x80000000;

const std::map<std::string, WakeupKind> kWakeupKinds = {{"switch", WakeupKind::Switch},
                                                        {"one-touch", WakeupKind::OneTouchButton}};

struct FunctionCall {
  std::uint32_t function = 0;
  std::uint32_t arguments[3] = {};
};

void Show(const Options& options, const nlohmann::ordered_json& object, const std::string& text) {
  std::printf("%s\n", options.json ? object.dump().c_str() : text.c_str());
}

// Opens a session, has `use` make its one call and closes the session again. The first failure is the one told.
template <typename Use>
int WithSession(const Options& options, const std::string& tried, Use use) {
  client::Connection connection;
  if (int code = Connect(options, &connection); code != kDone) return code;
  DeviceSession session(connection);
  if (client::Status status = session.Open(); !status.Ok())
    return ReportStatus(options, "open a device session", status);
  if (client::Status status = use(session); !status.Ok()) return ReportStatus(options, tried, status);
  const client::Status closed = session.Close();
  return closed.Ok() ? kDone : ReportStatus(options, "close the device session", closed);
}

int CallFunction(const Options& options, const FunctionCall& call) {
  DWORD answer = 0;
  const std::uint32_t* arguments = call.arguments;
  const int code = WithSession(options, "call function " + Hex(call.function), [&](DeviceSession& session) {
    return session.Call(call.function, arguments[0], arguments[1], arguments[2], &answer);
  });
  if (code != kDone) return code;
  const bool error = (answer & kDeviceError) != 0;
  Show(options,
       {{"function", call.function},
        {"arguments", {arguments[0], arguments[1], arguments[2]}},
        {"answer", answer},
        {"deviceError", error}},
       "answered " + Hex(answer) + (error ? ", an error of the device (bit 31)" : ""));
  return kDone;
}

int ShowWakeup(const Options& options, const std::string& kind) {
  DWORD word = 0;
  const int code = WithSession(options, "read the wake-up status", [&](DeviceSession& session) {
    return session.WakeupStatus(kWakeupKinds.at(kind), &word);
  });
  if (code != kDone) return code;
  Show(options, {{"wakeup", kind}, {"word", word}},
       kind + ": " + Hex(word) + (word == 0 ? ", not what woke the machine" : ""));
  return kDone;
}

void AddCall(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("call", "call a function of the device in a session and show its answer");
  auto call = std::make_shared<FunctionCall>();
  AddWord(*command, "function", &call->function, "the function's code")->required();
  const char* const names[] = {"arg1", "arg2", "arg3"};
  for (int i = 0; i < 3; ++i) AddWord(*command, names[i], &call->arguments[i], "0 unless given");
  command->callback([&options, call] { options.action = [&options, call] { return CallFunction(options, *call); }; });
}

void AddWakeup(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("wakeup", "show what woke the machine, as the service recorded it");
  auto kind = std::make_shared<std::string>();
  command->add_option("kind", *kind)->required()->check(CLI::IsMember({"switch", "one-touch"}));
  command->callback([&options, kind] { options.action = [&options, kind] { return ShowWakeup(options, *kind); }; });
}

}  // namespace

void AddDeviceSessionCommands(CLI::App& app, Options& options) {
  AddCall(app, options);
  AddWakeup(app, options);
}

}  // namespace tool
