// app serve: a program that plays an app service.
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/open_files.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/link/unix_socket.h"
#include "tools/app_serve_loop.h"
#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/report.h"
#include "tools/text_check.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr int kListenBacklog = 512;

struct ServeRequest {
  std::string package;
  std::string service;
  AppServeMode mode;

  std::string Tried() const { return "serve as " + service + " of " + package; }
  json Message(const char* op) const { return {{"op", op}, {"package", package}, {"service", service}}; }
};

// The listening socket of this process, and its file until somebody else takes care of that.
class ServeSocket {
 public:
  ServeSocket() {
    const std::string folder = host::CurrentMachineDirectory().runtime + "/appservices";
    mkdir(folder.c_str(), 0700);
    path_ = folder + "/" + Name();
    descriptor_ = host::ListenUnixSocket(path_, kListenBacklog);
  }
  ~ServeSocket() {
    if (descriptor_ >= 0) close(descriptor_);
    if (!path_.empty()) unlink(path_.c_str());
  }
  ServeSocket(const ServeSocket&) = delete;
  ServeSocket& operator=(const ServeSocket&) = delete;

  static std::string Name() { return std::to_string(getpid()); }
  int descriptor() const { return descriptor_; }

 private:
  std::string path_;
  int descriptor_ = -1;
};

// A descriptor that becomes readable when the machine has gone.
class MachineEnd {
 public:
  MachineEnd() : descriptor_(eventfd(0, EFD_CLOEXEC)) {
    host::MachineLink::Instance().Listen("link.closed", [this](const json&) { eventfd_write(descriptor_, 1); });
  }
  ~MachineEnd() {
    host::MachineLink::Instance().Listen("link.closed", {});
    close(descriptor_);
  }
  MachineEnd(const MachineEnd&) = delete;
  MachineEnd& operator=(const MachineEnd&) = delete;

  int descriptor() const { return descriptor_; }

 private:
  const int descriptor_;
};

bool Leave(const ServeRequest& request) {
  json reply;
  return host::MachineLink::Instance().Call(request.Message("app.leave"), &reply) != 0 || reply.value("left", true);
}

int Serve(const Options& options, const ServeRequest& request) {
  if (int code = RequireMachine(options, request.Tried()); code != kDone) return code;
  host::RaiseOpenFileLimit();
  const ServeSocket socket;
  if (socket.descriptor() < 0)
    return Report(options, kFailed, {request.Tried(), std::string("no socket: ") + std::strerror(errno), 0, ""});
  const MachineEnd end;
  json message = request.Message("app.listen");
  message["socket"] = ServeSocket::Name();
  message["refuse"] = request.mode.kind == AppServeMode::Kind::kRefuses;
  const std::string next = "hkd04a7ctl package list; by hand: hkd04a7ctl run --package " + request.package +
                           " -- hkd04a7ctl app serve " + request.package + " " + request.service;
  json reply;
  if (int code = CallMachine(options, {request.Tried(), "the machine", next}, message, &reply); code != kDone)
    return code;
  const AppServiceIdentity identity = {request.package, request.service, reply.at("user").get<std::string>(),
                                       reply.at("session").get<std::uint32_t>()};
  if (!options.json)
    std::printf("serving as %s of %s for %s in session %u\n", identity.service.c_str(), identity.package.c_str(),
                identity.user.c_str(), identity.session);
  std::fflush(stdout);
  AppServeLoop loop(request.mode, AppServeReceipts(identity, options.json), socket.descriptor(), end.descriptor(),
                    [&request] { return Leave(request); });
  if (loop.Run()) return kDone;
  return Report(options, kMachineNotUp, {request.Tried(), "the machine went down", 0, ""});
}

}  // namespace

void AddAppServeCommand(CLI::App& app, Options& options) {
  CLI::App* command =
      app.get_subcommand("app")->add_subcommand("serve", "be an app service of the package that this process is of");
  auto request = std::make_shared<ServeRequest>();
  command->add_option("package", request->package, "the package family name")->required()->check(TextError);
  command->add_option("service", request->service, "the app service's name")->required()->check(TextError);
  AddModeOptions(*command, "--delay", &request->mode);
  command->callback([&options, request] { options.action = [&options, request] { return Serve(options, *request); }; });
}

}  // namespace tool
